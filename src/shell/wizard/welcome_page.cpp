#include "shell/wizard/welcome_page.h"

#include "shell/controls/card.h"
#include "shell/theme/theme.h"

namespace gateway::shell {

WelcomePage::WelcomePage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup)
    : WizardPage(theme, setup)
{
    Card &welcome = addCard({});
    welcome.body().addWidget(
        paragraph(tr("Welcome to Quorin Gateway. This setup takes about 2-3 minutes and prepares your local "
                     "listener, storage, and Quorin Cloud connectivity."),
                  Color::text));

    Card &about = addCard(tr("What this wizard configures"));
    about.body().addWidget(bullet(QStringLiteral("dot.radiowaves.left.and.right"),
                                  tr("DIMSE listener identity and network port.")));
    about.body().addWidget(bullet(QStringLiteral("internaldrive.fill"),
                                  tr("Local incoming file storage and retention policy.")));
    about.body().addWidget(bullet(QStringLiteral("person.crop.circle"),
                                  tr("Quorin account sign-in (optional now, required for cloud sync).")));

    Card &note = addCard(tr("Privacy and network note"));
    note.body().addWidget(bullet(QStringLiteral("network"),
                                 tr("Enabling Bonjour publishes this listener on your local network."),
                                 Color::muted));
    note.body().addWidget(bullet(QStringLiteral("lock.fill"),
                                 tr("Quorin Gateway may request Local Network permission from macOS."),
                                 Color::muted));
    note.body().addWidget(bullet(QStringLiteral("arrow.clockwise"),
                                 tr("You can rerun this wizard any time from Preferences or the tray menu."),
                                 Color::muted));
    endCards();
}

} // namespace gateway::shell
