#include "app/headless_face.h"

namespace gateway::app {

void HeadlessFace::showDashboard()
{
    m_writeLine(QStringLiteral("To see how the gateway does, run: quorin-gateway status"));
}

void HeadlessFace::showSignInSheet()
{
    m_writeLine(QStringLiteral("To sign in, run: quorin-gateway sign-in --email ADDRESS"));
}

void HeadlessFace::showPreferences()
{
    m_writeLine(QStringLiteral("To see and change the settings, run: quorin-gateway settings list"));
}

void HeadlessFace::showBugReport()
{
    m_writeLine(QStringLiteral("Bug reports can be written in the desktop application only."));
}

void HeadlessFace::showSetupWizard(bool blocking)
{
    m_writeLine(blocking ? QStringLiteral("Setup isn't finished, so nothing is received or sent. "
                                          "Run: quorin-gateway setup --ae-title TITLE --port PORT")
                         : QStringLiteral("To change the setup, run: quorin-gateway setup --ae-title TITLE "
                                          "--port PORT"));
}

void HeadlessFace::showAlert(const QString &title, const QString &message)
{
    m_writeLine(title + QStringLiteral(": ") + message);
}

} // namespace gateway::app
