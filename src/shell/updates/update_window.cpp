#include "shell/updates/update_window.h"

#include "shell/controls/button.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtCore/QLocale>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

using updates::AppcastUpdater;
using updates::PackageKind;
using Phase = AppcastUpdater::Phase;

namespace {

constexpr int kWidth = 560;
constexpr int kNotesHeight = 200;
constexpr int kBarSteps = 1000;

QString sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString versionOf(const updates::AppcastItem &item)
{
    const QString shown = item.displayVersionString.trimmed();
    return shown.isEmpty() ? item.versionString : shown;
}

} // namespace

UpdateWindow::UpdateWindow(const Theme &theme, AppcastUpdater &updater)
    : m_theme(theme), m_updater(updater), m_title(new TextLabel(theme, {}, TypeStyle::h1)),
      m_sentence(new TextLabel(theme, {}, TypeStyle::body, Color::text2)), m_notes(new QPlainTextEdit),
      m_bar(new QProgressBar), m_numbers(new FixedDigitLabel(theme, {}, TypeStyle::small, Color::muted)),
      m_error(new InlineError(theme)), m_automatic(new Switch(theme, tr("Check for updates automatically"))),
      m_later(new Button(theme, ButtonKind::secondary, tr("Later"))), m_go(new PrimaryButton(theme, {}))
{
    setWindowTitle(tr("Software Update"));
    setFixedWidth(kWidth);
    addContent();
    m_automatic->setChecked(updater.automaticallyChecksForUpdates());
    connect(m_automatic, &QAbstractButton::toggled, this, [this](bool isOn) {
        m_updater.setAutomaticallyChecksForUpdates(isOn);
    });
    connect(m_later, &QPushButton::clicked, this, &QWidget::close);
    connect(m_go, &QPushButton::clicked, this, &UpdateWindow::go);
    connect(&updater, &AppcastUpdater::changed, this, &UpdateWindow::showStanding);
    showStanding();
}

void UpdateWindow::addContent()
{
    auto *column = new QVBoxLayout(this);
    const int page = m_theme.space(Space::page);
    column->setContentsMargins(page, page, page, page);
    column->setSpacing(m_theme.space(Space::gap));
    column->addWidget(makeHead());
    m_notes->setReadOnly(true);
    m_notes->setTabChangesFocus(true);
    m_notes->setFixedHeight(kNotesHeight);
    m_notes->setAccessibleName(tr("What is new"));
    column->addWidget(m_notes);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(tr("Progress of the update"));
    column->addWidget(m_bar);
    column->addWidget(m_numbers);
    column->addWidget(m_error);
    column->addWidget(m_automatic, 0, Qt::AlignLeft);
    column->addWidget(makeButtons());
}

QWidget *UpdateWindow::makeHead()
{
    auto *head = new QWidget;
    auto *row = new QHBoxLayout(head);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(m_theme.space(Space::wide));
    row->addWidget(new SymbolTile(m_theme,
                                  QStringLiteral("arrow.triangle.2.circlepath.circle.fill"),
                                  Color::blue,
                                  m_theme.size(Size::icon),
                                  SymbolTile::Ground::tinted),
                   0,
                   Qt::AlignTop);
    auto *words = new QVBoxLayout;
    words->setSpacing(m_theme.space(Space::tight));
    for (TextLabel *label : {m_title, m_sentence}) {
        label->setWordWrap(true);
        words->addWidget(label);
    }
    row->addLayout(words, 1);
    return head;
}

QWidget *UpdateWindow::makeButtons()
{
    auto *buttons = new QWidget;
    auto *row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, m_theme.space(Space::tight), 0, 0);
    row->setSpacing(m_theme.space(Space::tight));
    row->addStretch();
    row->addWidget(m_later);
    row->addWidget(m_go);
    return buttons;
}

void UpdateWindow::present()
{
    if (!isVisible()) {
        move(screen()->availableGeometry().center() - rect().center());
    }
    show();
    raise();
    activateWindow();
    m_go->setFocus();
}

void UpdateWindow::go()
{
    const Standing &now = m_updater.standing();
    if (now.phase == Phase::available || (now.phase == Phase::failed && now.item)) {
        m_updater.install();
    } else if (now.phase == Phase::failed) {
        m_updater.checkForUpdates();
    } else {
        close();
    }
}

void UpdateWindow::showStanding()
{
    const Standing &now = m_updater.standing();
    if (now.phase == Phase::idle) {
        hide();
        return;
    }
    showWords(now);
    showProgress(now);
    showError(now);
    showButtons(now);
    layout()->activate();
    setFixedHeight(layout()->totalHeightForWidth(kWidth)); // words wrap, so the width decides
}

void UpdateWindow::showWords(const Standing &now)
{
    const QString own = QStringLiteral(QUORIN_VERSION);
    const QString version = now.item ? versionOf(*now.item) : QString();
    switch (now.phase) {
    case Phase::idle:
        break;
    case Phase::checking:
        m_title->setText(tr("Checking for Updates…"));
        m_sentence->setText(tr("This is version %1.").arg(own));
        break;
    case Phase::upToDate:
        m_title->setText(tr("You're Up to Date"));
        m_sentence->setText(tr("Version %1 is the newest one.").arg(own));
        break;
    case Phase::failed:
        m_title->setText(now.item ? tr("The Update Wasn't Installed") : tr("Can't Check for Updates"));
        m_sentence->setText(tr("This is version %1. It goes on working as before.").arg(own));
        break;
    case Phase::handedOver:
        m_title->setText(tr("Your System's Installer Has the Update"));
        m_sentence->setText(
            tr("Install version %1 there, then quit Quorin Gateway and start it again.").arg(version));
        break;
    case Phase::installed:
        m_title->setText(tr("Restarting…"));
        m_sentence->setText(tr("Version %1 starts in a moment.").arg(version));
        break;
    case Phase::available:
    case Phase::fetching:
    case Phase::installing:
        m_title->setText(tr("Quorin Gateway %1 Is Available").arg(version));
        m_sentence->setText(
            tr("You have version %1. While it restarts, for some seconds, no images are received; those "
               "that are here stay safe.")
                .arg(own));
        break;
    }
    const bool hasNotes = now.item && !now.item->notes.trimmed().isEmpty();
    if (hasNotes && m_notes->toPlainText() != now.item->notes) {
        m_notes->setPlainText(now.item->notes);
    }
    m_notes->setVisible(hasNotes);
}

void UpdateWindow::showProgress(const Standing &now)
{
    const bool isUnderWay =
        now.phase == Phase::checking || now.phase == Phase::fetching || now.phase == Phase::installing;
    m_bar->setVisible(isUnderWay);
    m_numbers->setVisible(isUnderWay && now.item);
    if (!isUnderWay) {
        return;
    }
    const bool isMeasured = now.phase == Phase::fetching;
    m_bar->setRange(0, isMeasured ? kBarSteps : 0);
    if (isMeasured) {
        m_bar->setValue(static_cast<int>(now.received * kBarSteps / now.item->length));
    }
    if (now.item) {
        m_numbers->setText(now.phase == Phase::installing
                               ? tr("Installing…")
                               : tr("%1 of %2").arg(sizeText(now.received), sizeText(now.item->length)));
    }
}

void UpdateWindow::showError(const Standing &now)
{
    if (now.phase == Phase::failed && now.error) {
        m_error->showMessage(sentenceFor(*now.error),
                             tr("Try again later, or ask whoever looks after this computer."));
    } else {
        m_error->hide();
    }
}

void UpdateWindow::showButtons(const Standing &now)
{
    const bool isBusy =
        now.phase == Phase::fetching || now.phase == Phase::installing || now.phase == Phase::installed;
    const bool isAppImage = now.item && now.item->kind == PackageKind::appImage;
    switch (now.phase) {
    case Phase::failed:
        m_go->setText(tr("Try Again"));
        break;
    case Phase::available:
    case Phase::fetching:
    case Phase::installing:
    case Phase::installed:
        m_go->setText(isAppImage ? tr("Install and Relaunch") : tr("Open Installer"));
        break;
    case Phase::idle:
    case Phase::checking:
    case Phase::upToDate:
    case Phase::handedOver:
        m_go->setText(tr("OK"));
        break;
    }
    m_go->setBusy(isBusy);
    m_go->setVisible(now.phase != Phase::checking);
    m_later->setVisible(now.phase != Phase::upToDate && now.phase != Phase::handedOver);
    m_later->setEnabled(now.phase != Phase::installing && now.phase != Phase::installed);
}

void UpdateWindow::closeEvent(QCloseEvent *event)
{
    const Phase phase = m_updater.standing().phase;
    if (phase == Phase::installing || phase == Phase::installed) {
        event->ignore(); // a moment, and it can't be ended
        return;
    }
    event->accept();
    m_updater.dismiss();
}

void UpdateWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace gateway::shell
