#include "app/headless_face.h"

#include <utility>

namespace gateway::app {

void HeadlessFace::showDashboard()
{
    m_writeLine(QStringLiteral("To see how the gateway does, run: quorin-gateway status"));
}

void HeadlessFace::showSignInSheet()
{
    m_writeLine(QStringLiteral("To sign in, run: quorin-gateway sign-in --email ADDRESS"));
}

void HeadlessFace::showBugReport()
{
    m_writeLine(QStringLiteral("To report a bug, run: quorin-gateway report --description TEXT"));
}

void HeadlessFace::showTermsRequired()
{
    m_writeLine(QStringLiteral("Quorin Cloud takes no images before its Terms & Conditions are accepted. "
                               "Run: quorin-gateway terms show"));
}

void HeadlessFace::showSetupWizard(bool blocking)
{
    m_writeLine(blocking ? QStringLiteral("Setup isn't finished, so nothing is received or sent. "
                                          "Run: quorin-gateway setup --ae-title TITLE --port PORT")
                         : QStringLiteral("To change the setup, run: quorin-gateway setup --ae-title TITLE "
                                          "--port PORT"));
}

void HeadlessFace::showNotice(const QString &title, const QString &message)
{
    m_writeLine(title + QStringLiteral(": ") + message);
}

void HeadlessFace::showAlert(const QString &title, const QString &message)
{
    m_writeLine(title + QStringLiteral(": ") + message);
}

void HeadlessFace::tellUpdate(const QString &banner)
{
    if (banner != std::exchange(m_toldUpdate, banner)) {
        m_writeLine(banner);
    }
}

void HeadlessFace::ask(const updates::Alert &alert, std::function<void(bool)> answered)
{
    showAlert(alert.title, alert.message.simplified());
    answered(false);
}

} // namespace gateway::app
