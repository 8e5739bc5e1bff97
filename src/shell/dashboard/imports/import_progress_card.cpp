#include "shell/dashboard/imports/import_progress_card.h"

#include "receive/store_manual_import_service.h"
#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/progress_row.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/imports/import_words.h"
#include "shell/theme/theme.h"

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr std::chrono::milliseconds kInterval{250}; // often enough to feel live, rare enough to be read
constexpr int kSymbolEdge = 18;

} // namespace

ImportProgressCard::ImportProgressCard(const Theme &theme,
                                       receive::StoreManualImportService &imports,
                                       QWidget *parent)
    : Card(theme, parent), m_theme(theme), m_imports(imports), m_rows(new QVBoxLayout)
{
    setAccessibleName(tr("Imports"));
    m_rows->setSpacing(theme.space(Space::wide));
    body().addLayout(m_rows);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_timer.setInterval(kInterval);
    connect(&m_timer, &QTimer::timeout, this, qOverload<>(&ImportProgressCard::refresh));
    hide();
}

void ImportProgressCard::follow(const QString &batch)
{
    if (batch.isEmpty()) {
        return;
    }
    removeEnded();
    add(batch);
    show();
    refresh();
}

void ImportProgressCard::add(const QString &id)
{
    Batch batch{id, new QWidget, new ProgressRow(m_theme, tr("Importing"), tr("Stop"))};
    auto *column = new QVBoxLayout(batch.row);
    column->setContentsMargins({});
    column->setSpacing(m_theme.space(Space::hair));
    column->addWidget(batch.progress);
    connect(batch.progress, &ProgressRow::stopRequested, this, [this, id, row = batch.progress] {
        row->setStopping();
        m_imports.stop(id);
    });
    m_rows->addWidget(batch.row);
    m_batches.push_back(std::move(batch));
}

void ImportProgressCard::refresh()
{
    for (Batch &batch : m_batches) {
        refresh(batch);
    }
    settle();
}

void ImportProgressCard::refresh(Batch &batch)
{
    if (batch.progress == nullptr) {
        return;
    }
    const std::optional<receive::ManualImportReport> report = m_imports.report(batch.id);
    if (!report) { // it has forgotten this one among those that came since
        conclude(batch, tr("Ended. The logs tell what became of it."), Color::text2, {});
        return;
    }
    if (report->phase == receive::ManualImportReport::Phase::finished) {
        conclude(batch, importOutcomeText(*report), importOutcomeColor(*report), importSkipTexts(*report));
        return;
    }
    const bool countsBytes = report->knownBytes > 0;
    batch.progress->setProgress(countsBytes ? report->doneBytes : report->doneFiles,
                                countsBytes ? report->knownBytes : report->knownFiles,
                                importProgressText(*report));
}

void ImportProgressCard::conclude(Batch &batch,
                                  const QString &outcome,
                                  Color color,
                                  const QStringList &skipped)
{
    const bool hadFocus = batch.progress->isAncestorOf(window()->focusWidget());
    delete std::exchange(batch.progress, nullptr);
    auto *head = new QHBoxLayout;
    head->setSpacing(m_theme.space(Space::gap));
    head->addWidget(new SymbolTile(m_theme,
                                   color == Color::green ? QStringLiteral("checkmark.circle.fill")
                                                         : QStringLiteral("exclamationmark.triangle.fill"),
                                   color,
                                   kSymbolEdge,
                                   SymbolTile::Ground::none));
    head->addWidget(new TextLabel(m_theme, outcome, TypeStyle::bodyStrong), 1);
    auto *dismiss = new Button(m_theme, ButtonKind::quiet, {}, QStringLiteral("xmark"));
    dismiss->setAccessibleName(tr("Dismiss"));
    dismiss->setToolTip(tr("Dismiss"));
    connect(dismiss, &QAbstractButton::clicked, this, [this, id = batch.id] { remove(id); });
    head->addWidget(dismiss);
    auto *column = static_cast<QVBoxLayout *>(batch.row->layout());
    column->addLayout(head);
    for (const QString &line : skipped) {
        auto *reason = new ElidedLabel(m_theme, TypeStyle::small, Color::text2);
        reason->setWords(line);
        auto *row = new QHBoxLayout;
        row->addSpacing(kSymbolEdge + m_theme.space(Space::gap)); // below the words above
        row->addWidget(reason);
        column->addLayout(row);
    }
    if (hadFocus) {
        dismiss->setFocus();
    }
}

void ImportProgressCard::remove(const QString &id)
{
    const auto found = std::ranges::find(m_batches, id, &Batch::id);
    if (found != m_batches.end()) {
        found->row->deleteLater(); // the pressed button lies in it
        found->row->hide();
        m_batches.erase(found);
        settle();
    }
}

void ImportProgressCard::removeEnded()
{
    const std::vector<Batch> before = m_batches;
    for (const Batch &batch : before) {
        if (batch.progress == nullptr) {
            remove(batch.id);
        }
    }
}

void ImportProgressCard::settle()
{
    setVisible(!m_batches.empty());
    const bool isUnderWay =
        std::ranges::any_of(m_batches, [](const Batch &batch) { return batch.progress != nullptr; });
    if (isUnderWay && isVisible()) {
        m_timer.start();
    } else {
        m_timer.stop();
    }
}

void ImportProgressCard::showEvent(QShowEvent *event)
{
    Card::showEvent(event);
    refresh();
}

void ImportProgressCard::hideEvent(QHideEvent *event)
{
    Card::hideEvent(event);
    m_timer.stop();
}

} // namespace gateway::shell
