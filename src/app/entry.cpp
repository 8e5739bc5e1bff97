#include "app/entry.h"

#include "app/dicom_dictionary.h"
#include "terminal/client/console.h"
#include "terminal/commands/suggested_commands.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QProcessEnvironment>

#include <algorithm>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

namespace gateway::app {

namespace {

QStringList argumentsOf(int argc, char **argv)
{
    QStringList arguments;
    for (int at = 1; at < argc; ++at) {
        arguments.append(QString::fromLocal8Bit(argv[at]));
    }
    return arguments;
}

/// Memory holds images and a session. A limit of one byte is the one that keeps a core from a program that
/// the system pipes it to, too; what is started from here may ask for one.
void keepNoCore()
{
    rlimit core{};
    if (::getrlimit(RLIMIT_CORE, &core) == 0) {
        core.rlim_cur = std::min<rlim_t>(1, core.rlim_max);
        ::setrlimit(RLIMIT_CORE, &core);
    }
}

} // namespace

int enter(
    int argc,
    char **argv,
    const std::function<terminal::ExitCode(const terminal::Invocation &, const core::HomeLayout &)> &run)
{
    // A peer or a pipe that has gone is an error of one write, not the end of the program.
    std::signal(SIGPIPE, SIG_IGN);
    // Images and settings are for their owner's eyes.
    ::umask(S_IRWXG | S_IRWXO);
    keepNoCore();
    // Here, since nothing has started a thread yet.
    announceDicomDictionary(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath());
    QCoreApplication::setApplicationName(QStringLiteral("quorin-gateway"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUORIN_VERSION));

    const auto parsed = terminal::parseCommandLine(argumentsOf(argc, argv));
    if (const auto *end = std::get_if<terminal::CommandLineEnd>(&parsed)) {
        if (end->exitCode == 0) {
            terminal::printOut(end->text);
        } else {
            terminal::printError(end->text.trimmed());
        }
        return end->exitCode;
    }
    const auto &invocation = std::get<terminal::Invocation>(parsed);
    const core::HomeLayout layout =
        core::homeLayout(invocation.options.home, QProcessEnvironment::systemEnvironment());
    if (const std::optional<QString> owner = core::otherOwner(layout)) {
        terminal::printError(terminal::withOptions(
            QStringLiteral("This home belongs to the user %1. Work with it as that user: "
                           "sudo -u %1 quorin-gateway status, for one.")
                .arg(*owner),
            invocation.options));
        return static_cast<int>(terminal::ExitCode::failed);
    }
    return static_cast<int>(run(invocation, layout));
}

} // namespace gateway::app
