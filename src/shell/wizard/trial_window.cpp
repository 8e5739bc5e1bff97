#include "shell/wizard/trial_window.h"

#include "account/archive_sign_in_view_model.h"
#include "shell/account/archive_steps.h"
#include "shell/controls/button.h"
#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QCoro/QCoroTask>

#include <QtGui/QAccessible>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace gateway::shell {

using wizard::TrialLine;
using wizard::TrialState;
using wizard::TrialStep;

namespace {

constexpr int kWidth = 600;

QString titleOf(TrialStep step)
{
    switch (step) {
    case TrialStep::send:
        return TrialWindow::tr("Send a sample to the listener");
    case TrialStep::record:
        return TrialWindow::tr("Record it on this computer");
    case TrialStep::upload:
        return TrialWindow::tr("Upload it");
    case TrialStep::find:
        return TrialWindow::tr("Find it in the cloud");
    case TrialStep::remove:
        return TrialWindow::tr("Delete it again");
    }
    return {};
}

/// What the step is about, while nothing has come of it yet.
QString hintOf(TrialStep step)
{
    switch (step) {
    case TrialStep::send:
        return TrialWindow::tr("Over the network, as a modality does.");
    case TrialStep::record:
        return TrialWindow::tr("Like every image that is received.");
    case TrialStep::upload:
        return TrialWindow::tr("To the cloud, as your settings say.");
    case TrialStep::find:
        return TrialWindow::tr("By a query, as a person there would.");
    case TrialStep::remove:
        return TrialWindow::tr("Here and in the cloud.");
    }
    return {};
}

QString symbolOf(TrialStep step)
{
    switch (step) {
    case TrialStep::send:
        return QStringLiteral("paperplane.fill");
    case TrialStep::record:
        return QStringLiteral("tray.and.arrow.down.fill");
    case TrialStep::upload:
        return QStringLiteral("tray.and.arrow.up.fill");
    case TrialStep::find:
        return QStringLiteral("magnifyingglass");
    case TrialStep::remove:
        return QStringLiteral("trash");
    }
    return {};
}

QString symbolOf(const TrialLine &line)
{
    switch (line.state) {
    case TrialState::waiting:
    case TrialState::running:
        return symbolOf(line.step);
    case TrialState::passed:
        return QStringLiteral("checkmark.circle.fill");
    case TrialState::failed:
        return QStringLiteral("xmark.circle.fill");
    case TrialState::skipped:
        return QStringLiteral("minus");
    }
    return {};
}

Color colorOf(TrialState state)
{
    switch (state) {
    case TrialState::waiting:
    case TrialState::skipped:
        return Color::muted;
    case TrialState::running:
        return Color::blueHi;
    case TrialState::passed:
        return Color::green;
    case TrialState::failed:
        return Color::red;
    }
    return Color::muted;
}

QString wordOf(TrialState state)
{
    switch (state) {
    case TrialState::waiting:
        return {};
    case TrialState::running:
        return TrialWindow::tr("Under way");
    case TrialState::passed:
        return TrialWindow::tr("Passed");
    case TrialState::failed:
        return TrialWindow::tr("Failed");
    case TrialState::skipped:
        return TrialWindow::tr("Skipped");
    }
    return {};
}

} // namespace

TrialWindow::TrialWindow(const Theme &theme,
                         wizard::SetupTrial &trial,
                         account::ArchiveSignInViewModel *archive)
    : m_theme(theme), m_trial(trial), m_archive(archive), m_ground(new Canvas(theme)),
      m_title(new TextLabel(theme, {}, TypeStyle::h1)),
      m_sentence(new TextLabel(theme, {}, TypeStyle::body, Color::text2)),
      m_leave(new Button(theme, ButtonKind::secondary, {})), m_go(new PrimaryButton(theme, {}))
{
    setWindowTitle(tr("Try it now"));
    setFixedWidth(kWidth);
    addContent();
    showTrial();
    fit();
    connect(m_leave, &QPushButton::clicked, this, &QWidget::close);
    connect(m_go, &QPushButton::clicked, this, [this] {
        if (isOver() && !hasFailed()) {
            close();
        } else {
            start();
        }
    });
    connect(&trial, &wizard::SetupTrial::changed, this, &TrialWindow::showTrial);
}

void TrialWindow::start()
{
    m_hasTriedArchive = false;
    m_trial.start();
}

/// Where the sample's way was whole: what else the archive has to do makes sense only then.
void TrialWindow::tryArchive()
{
    m_hasTriedArchive = true;
    m_stopOfArchive = {};
    QCoro::connect(m_archive->test(m_stopOfArchive.get_token()), this, [](const auto &) {});
}

void TrialWindow::addContent()
{
    auto *frame = new QVBoxLayout(this);
    frame->setContentsMargins({});
    frame->addWidget(m_ground);
    auto *column = new QVBoxLayout(m_ground);
    const int page = m_theme.space(Space::page);
    column->setContentsMargins(page, page, page, page);
    column->setSpacing(m_theme.space(Space::wide));
    for (TextLabel *label : {m_title, m_sentence}) {
        label->setWordWrap(true);
        column->addWidget(label);
    }
    column->addWidget(makeLines());
    if (m_archive != nullptr) {
        m_archiveCard = new Card(m_theme);
        m_archiveCard->body().addWidget(
            new ArchiveSteps(m_theme, *m_archive, ArchiveSteps::Shown::besidesSample));
        column->addWidget(m_archiveCard);
        connect(m_archive, &account::ArchiveSignInViewModel::changed, this, &TrialWindow::showTrial);
    }
    column->addWidget(makeButtons());
}

QWidget *TrialWindow::makeLines()
{
    auto *card = new Card(m_theme);
    card->body().setSpacing(m_theme.space(Space::wide));
    for (const TrialLine &line : m_trial.lines()) {
        card->body().addWidget(makeLine(line.step));
    }
    return card;
}

QWidget *TrialWindow::makeLine(TrialStep step)
{
    const Line line{
        new SymbolTile(
            m_theme, symbolOf(step), Color::muted, m_theme.size(Size::icon), SymbolTile::Ground::none),
        new TextLabel(m_theme, titleOf(step), TypeStyle::bodyStrong),
        new TextLabel(m_theme, {}, TypeStyle::small),
        new TextLabel(m_theme, {}, TypeStyle::small, Color::text2)};
    auto *row = new QWidget;
    auto *parts = new QHBoxLayout(row);
    parts->setContentsMargins({});
    parts->setSpacing(m_theme.space(Space::gap));
    parts->addWidget(line.mark, 0, Qt::AlignTop);
    auto *words = new QVBoxLayout;
    words->setSpacing(2);
    auto *head = new QHBoxLayout;
    line.title->setWordWrap(true);
    head->addWidget(line.title, 1);
    head->addWidget(line.word, 0, Qt::AlignTop);
    words->addLayout(head);
    line.detail->setWordWrap(true);
    words->addWidget(line.detail);
    parts->addLayout(words, 1);
    m_lines.append(line);
    return row;
}

QWidget *TrialWindow::makeButtons()
{
    auto *buttons = new QWidget;
    auto *row = new QHBoxLayout(buttons);
    row->setContentsMargins({});
    row->setSpacing(m_theme.space(Space::tight));
    row->addStretch();
    row->addWidget(m_leave);
    row->addWidget(m_go);
    return buttons;
}

void TrialWindow::present()
{
    if (!isVisible()) {
        m_trial.reset();
        m_hasTriedArchive = false;
        showArchive();
        move(screen()->availableGeometry().center() - rect().center());
    }
    show();
    raise();
    activateWindow();
    m_go->setFocus();
}

bool TrialWindow::isRunning() const
{
    return m_trial.isRunning() || (m_hasTriedArchive && m_archive->isTesting());
}

/// A trial has run, and runs no more.
bool TrialWindow::isOver() const
{
    return !isRunning() && m_trial.lines().constFirst().state != TrialState::waiting;
}

bool TrialWindow::hasFailed() const
{
    return m_trial.hasFailed() ||
           (m_hasTriedArchive && std::ranges::any_of(m_archive->steps(), [](const auto &step) {
                return step.outcome == cloud_client::TrialStep::Outcome::failed;
            }));
}

void TrialWindow::showTrial()
{
    for (qsizetype row = 0; row < m_lines.size(); ++row) {
        showLine(m_trial.lines().at(row), m_lines.at(row));
    }
    const bool isFound = std::ranges::any_of(m_trial.lines(), [](const TrialLine &line) {
        return line.step == TrialStep::find && line.state == TrialState::passed;
    });
    if (m_archive != nullptr && isVisible() && isOver() && m_wasRunning && !m_hasTriedArchive && isFound) {
        tryArchive();
    }
    showArchive();
    showHead();
    showButtons();
    const bool hasEnded = m_wasRunning && !isRunning();
    m_wasRunning = isRunning();
    if (hasEnded && isVisible()) {
        tellEnd();
    }
}

void TrialWindow::showArchive()
{
    if (m_archiveCard != nullptr) {
        m_archiveCard->setVisible(m_hasTriedArchive && !m_archive->isTesting());
    }
}

void TrialWindow::showLine(const TrialLine &shown, const Line &line) const
{
    const QString word = wordOf(shown.state);
    line.mark->setSymbol(symbolOf(shown), colorOf(shown.state));
    line.title->setColor(shown.state == TrialState::skipped ? Color::text2 : Color::text);
    line.title->setAccessibleDescription(word);
    line.word->setText(word);
    line.word->setColor(colorOf(shown.state));
    line.detail->setText(shown.detail.isEmpty() ? hintOf(shown.step) : shown.detail);
    line.detail->setColor(shown.state == TrialState::waiting ? Color::muted : Color::text2);
}

void TrialWindow::showHead()
{
    if (!isOver()) {
        m_title->setText(tr("Try it now"));
        m_sentence->setText(tr("Quorin Gateway sends an image of nobody to itself over the network, uploads "
                               "it, finds it in the cloud and deletes it again. Nothing else changes."));
    } else if (hasFailed()) {
        m_title->setText(tr("Something Is in the Way"));
        m_sentence->setText(
            tr("Each line says what came of it, and what helps. Your settings stay as they are."));
    } else {
        m_title->setText(tr("It Works"));
        m_sentence->setText(tr("What your modalities send here is received, kept and uploaded."));
    }
}

void TrialWindow::showButtons()
{
    const bool isDone = isOver() && !hasFailed();
    m_leave->setText(isRunning() ? tr("Stop") : isOver() ? tr("Close") : tr("Skip"));
    m_leave->setVisible(!isDone);
    m_go->setText(isDone ? tr("Done") : isOver() ? tr("Try Again") : tr("Try it now"));
    m_go->setBusy(isRunning());
}

/// Words wrap, so the width decides.
void TrialWindow::fit()
{
    setFixedHeight(m_ground->layout()->totalHeightForWidth(kWidth));
}

bool TrialWindow::event(QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest) { // words have changed, somewhere below
        fit();
    }
    return QWidget::event(event);
}

void TrialWindow::tellEnd()
{
    QAccessibleEvent told(m_title, QAccessible::Alert);
    QAccessible::updateAccessibility(&told);
}

void TrialWindow::closeEvent(QCloseEvent *event)
{
    event->accept();
    m_stopOfArchive.request_stop();
    m_trial.stop();
}

void TrialWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace gateway::shell
