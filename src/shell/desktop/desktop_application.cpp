#include "shell/desktop/desktop_application.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/symbols.h"

#include <QtCore/QProcessEnvironment>
#include <QtDBus/QDBusConnection>

namespace gateway::shell {

namespace {

/// What is to be done when the display can't be opened; a plain pointer, since Qt's handlers are functions.
const std::function<void(const QString &)> *g_fail = nullptr;
QtMessageHandler g_otherwise = nullptr;

void takeMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtFatalMsg && g_fail != nullptr) {
        (*g_fail)(QStringLiteral("The display can't be opened; start the gateway with --headless to run it "
                                 "without windows."));
    }
    // What the display's plugin has to say in between, the one sentence says in plain words.
    if (!QLatin1String(context.category).startsWith(QLatin1String("qt.qpa"))) {
        g_otherwise(type, context, message);
    }
}

/// Tells `fail` about a fatal message for as long as it lives.
class FatalMessages
{
public:
    explicit FatalMessages(const std::function<void(const QString &)> &fail)
    {
        g_fail = &fail;
        g_otherwise = qInstallMessageHandler(takeMessage);
    }
    ~FatalMessages()
    {
        qInstallMessageHandler(g_otherwise);
        g_fail = nullptr;
    }
    FatalMessages(const FatalMessages &) = delete;
    FatalMessages &operator=(const FatalMessages &) = delete;
};

} // namespace

std::optional<QString> displayProblem(const QProcessEnvironment &environment)
{
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        if (!environment.value(QString::fromLatin1(name)).isEmpty()) {
            return std::nullopt;
        }
    }
    return QStringLiteral(
        "There is no display for the gateway's windows; start it with --headless to run it without them.");
}

DesktopApplication::DesktopApplication(int &argc,
                                       char **argv,
                                       const std::function<void(const QString &)> &fail)
{
    platform::assertMainThread("DesktopApplication");
    {
        const FatalMessages whileOpening(fail);
        m_application.emplace(argc, argv);
    }
    QGuiApplication::setDesktopFileName(QStringLiteral("com.ovelt.QuorinGateway"));
    QApplication::setQuitOnLastWindowClosed(false);
    m_translations.emplace();
    m_theme.emplace();
    m_theme->applyTo(*m_application);
    m_preferences.emplace(*m_theme, QDBusConnection::sessionBus());
    QApplication::setWindowIcon(m_theme->icon(kApplicationSymbol, Color::blue));
}

DesktopApplication::~DesktopApplication() = default;

} // namespace gateway::shell
