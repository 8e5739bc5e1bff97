#pragma once

#include "cloud_client/archive_sign_in.h"
#include "cloud_client/device_grant.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <chrono>
#include <memory>
#include <optional>

namespace CLI {
class App;
}

namespace gateway::terminal {

/// Say how to sign in at an archive, show it, or try the archive out. Nothing secret is among it: secrets
/// come on standard input or in files.
struct ArchiveCommand
{
    enum class Action
    {
        set,
        show,
        test
    };

    Action action = Action::show;
    bool asJson = false;
    bool keepsMethod = false;           ///< of a set that is about what stands beside the method alone
    cloud_client::ArchiveSignIn signIn; ///< of a set, without what is secret
    QString secretFile = {};            ///< empty for standard input
    QString certificateFile = {};       ///< empty for the certificate that there is
    QString keyFile = {};
    QString headerFile = {}; ///< empty for the headers that there are
    bool withoutCertificate = false;
    bool withoutRoots = false;
    bool withoutHeaders = false;

    bool needsSecret() const;
};

/// The words of `archive` on the command line.
///
/// Owner: whoever reads the command line. Thread: any; the one that made it.
class ArchiveOptions
{
public:
    ArchiveOptions();
    ~ArchiveOptions();

    void add(CLI::App &app);

    /// What they say, once the command line is read.
    ArchiveCommand command(const CLI::App &archive) const;

private:
    struct Raw;

    static void addClient(CLI::App &set, Raw &raw);
    static void addExtras(CLI::App &set, Raw &raw);

    const std::unique_ptr<Raw> m_raw;
};

namespace requests {

inline const QString kArchiveSet = QStringLiteral("archive-set");
inline const QString kArchiveShow = QStringLiteral("archive-show");
inline const QString kArchiveWait = QStringLiteral("archive-wait"); ///< for who has been told a code
inline const QString kArchiveTest = QStringLiteral("archive-test");

} // namespace requests

/// \param signIn  with what is secret, which travels over the control socket only.
ControlRequest archiveRequest(const ArchiveCommand &command, const cloud_client::ArchiveSignIn &signIn);

/// The sign-in that a set asks for.
///
/// \param present  the session that there is, if there is one: a certificate, roots and headers stay unless
///                 others come, and a method stays when it isn't named.
cloud_client::ArchiveSignIn signInIn(const ControlRequest &request, const std::optional<QString> &present);

/// Why a set can't keep the method that it doesn't name, in one sentence; nothing where it can.
///
/// \param isKnown  the place that keeps the session has answered.
std::optional<QString>
issueWithKeeping(const ControlRequest &request, bool isKnown, const std::optional<QString> &present);

/// A code that a person has to enter elsewhere, as the instance tells it, and for people.
QJsonObject codeJson(const cloud_client::DeviceCode &code);
QString codeText(const QJsonObject &code);

/// For how long a code may be entered; nothing where the answer to a set tells of none.
std::optional<std::chrono::seconds> codeLifetime(const QJsonObject &answer);

/// What may be shown of a sign-in: nothing that is secret.
QJsonObject archiveJson(const cloud_client::ArchiveSignIn &signIn);

/// The same for people, a line each.
QString archiveText(const QJsonObject &archive);

/// What a test found, for people.
QString trialText(const QJsonObject &trial);

} // namespace gateway::terminal
