#include "shell/wizard/gateway_setup_wizard_window_controller.h"

#include "account/quorin_auth_view_model.h"
#include "platform/concurrency/main_executor.h"
#include "shell/wizard/gateway_setup_wizard_view.h"

#include <QtCore/QEvent>
#include <QtGui/QCloseEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QDialog>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <utility>

namespace gateway::shell {

using account::GatewayQuorinCloudTermsCoordinator;
using wizard::GatewaySetupWizardViewModel;

namespace {

/// The screen in use.
QRect availableGeometry()
{
    const QWindow *inUse = QGuiApplication::focusWindow();
    const QScreen *screen = inUse != nullptr ? inUse->screen() : QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableGeometry() : QRect(0, 0, 1280, 800);
}

} // namespace

QSize wizardSize(const QSize &available)
{
    return {std::clamp(available.width() - 80, 720, 1040), std::clamp(available.height() - 100, 520, 700)};
}

GatewaySetupWizardWindow::GatewaySetupWizardWindow(bool blocking, std::function<bool()> mayClose)
    : m_mayClose(std::move(mayClose))
{
    const Qt::WindowFlags closable = Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint;
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   (blocking ? Qt::WindowFlags() : closable));
    setWindowTitle(tr("Quorin Gateway Setup"));
}

bool GatewaySetupWizardWindow::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate) {
        Q_EMIT activated();
    }
    return QWidget::event(event);
}

void GatewaySetupWizardWindow::closeEvent(QCloseEvent *event)
{
    if (!m_mayClose()) {
        event->ignore();
        return;
    }
    event->accept();
    Q_EMIT closed();
}

void GatewaySetupWizardWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

/// One opening of the wizard.
struct GatewaySetupWizardWindowController::Presentation
{
    Presentation(const WizardParts &parts, bool blocking, std::function<bool()> mayClose)
        : auth(parts.auth), terms(parts.terms, account::TermsSigner::here(QStringLiteral(QUORIN_VERSION))),
          setup(parts.setup, wizard::SetupAccount{parts.auth, terms}), window(blocking, std::move(mayClose)),
          view(parts, setup, terms, blocking)
    {
        auto *frame = new QVBoxLayout(&window);
        frame->setContentsMargins({});
        frame->addWidget(&view);
    }

    bool isIdle() const { return !auth.isChecking() && !terms.isLoading() && !setup.isApplying(); }

    account::QuorinAuthViewModel &auth;
    GatewayQuorinCloudTermsCoordinator terms;
    GatewaySetupWizardViewModel setup;
    GatewaySetupWizardWindow window;
    GatewaySetupWizardView view; // a child of the window that goes before it
};

GatewaySetupWizardWindowController::GatewaySetupWizardWindowController(const WizardParts &parts)
    : m_parts(parts), m_completedObserver(parts.setup.settings.gatewaySetupCompleted.onChange(
                          [this, &main = parts.setup.main, life = std::weak_ptr<const void>(m_life)] {
                              main.post(life, [this] { completedElsewhere(); });
                          }))
{
}

GatewaySetupWizardWindowController::~GatewaySetupWizardWindowController()
{
    m_life.reset(); // what ends below has nothing to sweep any more
}

QWidget *GatewaySetupWizardWindowController::window() const
{
    return m_presentation != nullptr ? &m_presentation->window : nullptr;
}

void GatewaySetupWizardWindowController::show(bool blocking)
{
    if (m_presentation != nullptr && m_isBlockingPresentation != blocking) {
        drop();
    }
    if (m_presentation == nullptr) {
        build(blocking);
    }
    bringForward();
}

void GatewaySetupWizardWindowController::build(bool blocking)
{
    m_isBlockingPresentation = blocking;
    m_presentation = std::make_unique<Presentation>(m_parts, blocking, [this] {
        return !m_isBlockingPresentation && m_presentation != nullptr && !m_presentation->setup.isApplying();
    });
    GatewaySetupWizardWindow &window = m_presentation->window;
    GatewaySetupWizardView &view = m_presentation->view;
    QObject::connect(&window, &GatewaySetupWizardWindow::closed, &window, [this] { drop(); });
    QObject::connect(&window,
                     &GatewaySetupWizardWindow::activated,
                     &m_presentation->setup,
                     &GatewaySetupWizardViewModel::followSettings);
    QObject::connect(&view, &GatewaySetupWizardView::dismissRequested, &window, &QWidget::close);
    QObject::connect(&view, &GatewaySetupWizardView::completed, &window, [this] {
        complete();
        m_parts.actions.offerTrial();
    });
    const QRect available = availableGeometry();
    window.setFixedSize(wizardSize(available.size()));
    window.move(available.center() - window.rect().center());
}

void GatewaySetupWizardWindowController::bringForward()
{
    GatewaySetupWizardWindow &window = m_presentation->window;
    window.setWindowState((window.windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    window.show();
    window.raise();
    window.activateWindow();
    const QList<QDialog *> dialogs = window.findChildren<QDialog *>();
    for (QDialog *dialog : dialogs) {
        if (dialog->isVisible()) { // it asks something that the window waits for
            dialog->raise();
            dialog->activateWindow();
        }
    }
}

void GatewaySetupWizardWindowController::complete()
{
    m_isBlockingPresentation = false;
    drop();
    m_parts.actions.completed();
}

void GatewaySetupWizardWindowController::completedElsewhere()
{
    const bool isWaiting =
        m_presentation != nullptr && m_isBlockingPresentation && !m_presentation->setup.isApplying();
    if (isWaiting && !core::isSetupRequired(m_parts.setup.settings)) {
        complete();
    }
}

/// It may be in the middle of its own doing, and goes behind it.
void GatewaySetupWizardWindowController::drop()
{
    Presentation &leaving = *m_presentation;
    leaving.window.hide();
    QObject::connect(
        &leaving.auth, &account::QuorinAuthViewModel::changed, &leaving.window, [this] { sweepSoon(); });
    QObject::connect(&leaving.terms, &GatewayQuorinCloudTermsCoordinator::changed, &leaving.window, [this] {
        sweepSoon();
    });
    m_leaving.push_back(std::move(m_presentation));
    sweepSoon();
}

void GatewaySetupWizardWindowController::sweepSoon()
{
    m_parts.setup.main.post(m_life, [this] { sweep(); });
}

void GatewaySetupWizardWindowController::sweep()
{
    std::erase_if(m_leaving, [](const auto &presentation) { return presentation->isIdle(); });
}

} // namespace gateway::shell
