#pragma once

#include "core/settings.h"
#include "platform/notifications/notification_center.h"
#include "shell/wizard/wizard_parts.h"

#include <QtCore/QSize>
#include <QtWidgets/QWidget>

#include <functional>
#include <memory>
#include <vector>

namespace gateway::shell {

/// The size of the wizard on a screen: 80 pixels narrower and 100 lower than what is free of it, at least
/// 720 by 520 and at most 1040 by 700.
QSize wizardSize(const QSize &available);

/// The frame around the wizard, of one size.
///
/// Owner: GatewaySetupWizardWindowController. Thread: main.
class GatewaySetupWizardWindow : public QWidget
{
    Q_OBJECT

public:
    /// \param blocking  it offers no way to close it.
    /// \param mayClose  whether it may be closed at this moment.
    GatewaySetupWizardWindow(bool blocking, std::function<bool()> mayClose);

Q_SIGNALS:
    void activated();

    /// It was closed by a person.
    void closed();

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    const std::function<bool()> m_mayClose;
};

/// The window of the wizard, made anew each time it is opened, so that it begins with the settings as they
/// stand. As long as setup is required a person can leave it only by finishing setup or by quitting; when
/// setup is finished elsewhere, by a command, it goes by itself.
///
/// Owner: DesktopScreens. Thread: main.
class GatewaySetupWizardWindowController
{
public:
    explicit GatewaySetupWizardWindowController(const WizardParts &parts);
    ~GatewaySetupWizardWindowController();

    GatewaySetupWizardWindowController(const GatewaySetupWizardWindowController &) = delete;
    GatewaySetupWizardWindowController &operator=(const GatewaySetupWizardWindowController &) = delete;

    /// Shows it, or raises the one that is shown in this form already.
    void show(bool blocking);

    bool isBlockingPresentation() const { return m_isBlockingPresentation; }

    /// Null while none is shown.
    QWidget *window() const;

private:
    struct Presentation;

    void build(bool blocking);
    void bringForward();
    void complete();
    void completedElsewhere();
    void drop();
    void sweep();
    void sweepSoon();

    const WizardParts m_parts;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    bool m_isBlockingPresentation = false;
    std::unique_ptr<Presentation> m_presentation;
    std::vector<std::unique_ptr<Presentation>> m_leaving; // until what they have under way has ended
    platform::NotificationCenter::Token m_completedObserver;
};

} // namespace gateway::shell
