#include "terminal/client/import_client.h"

#include "terminal/client/console.h"
#include "terminal/commands/suggested_commands.h"
#include "terminal/control/control_client.h"
#include "terminal/instance/import_commands.h"

#include <QtCore/QDir>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include <unistd.h>

namespace gateway::terminal {

namespace {

constexpr std::chrono::seconds kAnswerTimeout{30};
constexpr std::chrono::milliseconds kInterval{200};

volatile std::sig_atomic_t g_interrupts = 0;

/// Counts the first Ctrl+C or SIGTERM; the next one does what it does by default.
class Interrupts
{
public:
    Interrupts()
    {
        struct sigaction once{};
        once.sa_handler = [](int) { g_interrupts = 1; };
        once.sa_flags = static_cast<int>(SA_RESETHAND);
        ::sigaction(SIGINT, &once, nullptr);
        ::sigaction(SIGTERM, &once, nullptr);
    }

    static bool any() { return g_interrupts != 0; }
};

/// One line on the terminal that is written again and again; nothing where standard error is no terminal.
class ProgressLine
{
public:
    explicit ProgressLine(bool isWanted) : m_isShown(isWanted && ::isatty(STDERR_FILENO) != 0) {}
    ~ProgressLine() { show(QString()); }

    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    void show(const QString &text) const
    {
        if (m_isShown) {
            std::fputs(("\r\033[K" + text.toUtf8()).constData(), stderr);
            std::fflush(stderr);
        }
    }

private:
    bool m_isShown;
};

QStringList absolutePaths(const QStringList &paths)
{
    QStringList absolute;
    for (const QString &path : paths) {
        absolute.append(QDir::current().absoluteFilePath(path));
    }
    return absolute;
}

/// Follows a batch that was begun until it has finished.
ControlReply follow(const QString &socket, ControlReply reply, bool showsProgress)
{
    const ProgressLine line(showsProgress);
    bool isStopping = false;
    while (reply.code == ExitCode::done && !hasFinished(reply.result)) {
        line.show(isStopping ? QStringLiteral("Stopping ...") : importProgressText(reply.result));
        std::this_thread::sleep_for(kInterval);
        const QString batch = batchIn(reply.result);
        const bool stops = Interrupts::any() && !isStopping;
        isStopping = isStopping || stops;
        reply =
            askInstance(socket, stops ? importStopRequest(batch) : importReportRequest(batch), kAnswerTimeout)
                .value_or(ControlReply::failure(
                    QStringLiteral("The gateway ended during the import; import again what is missing.")));
    }
    return reply;
}

} // namespace

ExitCode runImport(const core::HomeLayout &layout, const GlobalOptions &options, const ImportCommand &command)
{
    const Interrupts interrupts; // from before the batch begins
    const QString socket = layout.controlSocket();
    const std::optional<ControlReply> begun =
        askInstance(socket, importRequest(absolutePaths(command.paths)), kAnswerTimeout);
    const ControlReply reply = begun ? follow(socket, *begun, !command.asJson) : noInstance();
    if (reply.code != ExitCode::done) {
        printError(withOptions(reply.error, options));
        return reply.code;
    }
    printOut(command.asJson ? jsonLine(reply.result) : importSummaryText(reply.result));
    const QString failure = importFailureSentence(reply.result);
    if (!failure.isEmpty()) {
        printError(failure);
        return ExitCode::failed;
    }
    return ExitCode::done;
}

} // namespace gateway::terminal
