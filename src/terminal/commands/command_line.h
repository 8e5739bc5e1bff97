#pragma once

#include "platform/sockets/listening_socket.h"
#include "terminal/commands/archive_command.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <variant>

namespace gateway::terminal {

/// What may stand before or behind any command.
struct GlobalOptions
{
    std::optional<QString> home = {};      ///< --home or QUORIN_GATEWAY_HOME
    std::optional<QString> cloudUrl = {};  ///< --cloud
    std::optional<QString> cloudKind = {}; ///< --cloud-kind, "quorin" or "dicomweb"
    QString bindAddress = {};              ///< --bind or QUORIN_GATEWAY_BIND; empty for all interfaces
    std::optional<platform::SocketAddress> metricsAddress = {}; ///< --metrics or QUORIN_GATEWAY_METRICS
};

/// Run the gateway without a display.
struct RunHeadless
{
};

/// Run the gateway with its windows.
struct RunDesktop
{
};

/// What isn't given stays as it is.
struct SetupCommand
{
    QString aeTitle;
    QString port; ///< as typed; the checks of setup judge it
    std::optional<QString> incomingFolder;
    std::optional<QString> autoDelete; ///< "never", "N-days" or "N-months"
    bool withoutBonjour = false;
};

struct SignInCommand
{
    QString email;
    bool isWithoutPair = false; ///< at an archive that wants no user name
};

struct SignOutCommand
{
};

struct UploadCommand
{
};

struct ImportCommand
{
    QStringList paths; ///< as typed
    bool asJson = false;
};

struct StatusCommand
{
    bool asJson = false;
    bool watch = false;
};

struct SettingsCommand
{
    enum class Action
    {
        list,
        get,
        set,
        exportFile,
        importFile
    };

    Action action = Action::list;
    QString key;
    QString value;
    QString file;         ///< of an export or import
    QJsonObject settings; ///< what an import found in the file
    bool asJson = false;
};

/// Show the log; the words of the filters as typed.
struct LogsCommand
{
    QString level = QStringLiteral("all");
    QString category = QStringLiteral("all");
    QString searchText;
    std::optional<QString> imageHash; ///< then without the filters, and without following
    bool asJson = false;
    bool follow = false;
    std::optional<qint64> newest = {}; ///< how many of the lines that are there
    QString since = {};                ///< empty for all
};

struct TermsCommand
{
    enum class Action
    {
        show,
        accept,
        decline
    };

    Action action = Action::show;
    bool asJson = false; ///< of a show
};

struct AccountCommand
{
    enum class Action
    {
        show,
        set,
        password
    };

    Action action = Action::show;
    bool asJson = false; ///< of a show
    QString key;
    QString value;
};

struct ReportCommand
{
    QString description;
    bool isReproducible = false;
    bool happenedDuringImport = false;
    bool happenedDuringOpening = false;
    QStringList attachments; ///< paths as typed
};

/// Compare what is recorded with what is there.
struct DoctorCommand
{
    bool repair = false;
    bool asJson = false;
};

/// Print the DICOM conformance statement.
struct ConformanceCommand
{
    bool asJson = false;
};

/// Look at what the cloud or this machine holds, or delete of it; texts as typed.
struct BrowserCommand
{
    enum class Place
    {
        cloud,
        local
    };

    enum class Action
    {
        studies,
        series,
        deletion
    };

    Place place = Place::cloud;
    Action action = Action::studies;
    bool asJson = false;
    QString searchText = {};
    bool failuresOnly = false;           ///< of local studies
    QMap<QString, QString> filters = {}; ///< of cloud studies, by their option's name; those that were given
    QString study = {};                  ///< whose series; empty for studies
    QStringList targets = {};            ///< what to delete
    bool isConfirmed = false;            ///< --yes
    std::optional<qint64> expected = {}; ///< --expect
};

using Command = std::variant<RunHeadless,
                             RunDesktop,
                             SetupCommand,
                             SignInCommand,
                             SignOutCommand,
                             UploadCommand,
                             ImportCommand,
                             StatusCommand,
                             SettingsCommand,
                             LogsCommand,
                             TermsCommand,
                             AccountCommand,
                             ArchiveCommand,
                             ReportCommand,
                             DoctorCommand,
                             ConformanceCommand,
                             BrowserCommand>;

/// What the program was asked to do.
struct Invocation
{
    GlobalOptions options;
    Command command;
};

/// The command line itself ends the program: help, the version, or a mistake.
struct CommandLineEnd
{
    int exitCode = 0; ///< 0 for what was asked for, 2 for bad usage
    QString text;     ///< to standard output with exit code 0, else to standard error
};

/// Reads the command line. Options may also come from the environment, as `--help` tells.
///
/// \param arguments  without the program's name.
std::variant<Invocation, CommandLineEnd> parseCommandLine(const QStringList &arguments);

} // namespace gateway::terminal
