// How a panel is put together; what it does stands in browser_panel.cpp.
#include "browser/browser_words.h"
#include "shell/browser/browser_panel.h"
#include "shell/browser/browser_panel_words.h"
#include "shell/browser/browser_table_model.h"
#include "shell/browser/browser_table_view.h"
#include "shell/controls/button.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/progress_row.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QShortcut>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QStackedWidget>

namespace gateway::shell {

namespace {

constexpr int kSkeletonRows = 8;
constexpr int kLeastListHeight = 170;
constexpr int kLeastSearchWidth = 190;

TextLabel *symbolLabel(const Theme &theme, QStringView symbol, Color color)
{
    auto *label = new TextLabel(theme, {}, TypeStyle::small);
    const int edge = theme.size(Size::icon);
    label->setPixmap(theme.icon(symbol, color).pixmap(edge, edge));
    return label;
}

} // namespace

BrowserPanel::BrowserPanel(const BrowserPanelParts &parts, QWidget *parent)
    : QWidget(parent), m_parts(parts), m_model(new BrowserTableModel(parts.table, this)),
      m_view(new BrowserTableView(parts.theme, parts.table, *m_model)),
      m_search(new SearchField(parts.theme, searchPrompt(parts.table.kind()))),
      m_export(new Button(
          parts.theme, ButtonKind::secondary, tr("Export…"), QStringLiteral("square.and.arrow.up"))),
      m_delete(
          new Button(parts.theme, ButtonKind::destructive, tr("Delete Selected"), QStringLiteral("trash"))),
      m_progress(new ProgressRow(parts.theme, deletingWords(parts.table.kind()), tr("Stop"))),
      m_pages(new QStackedWidget),
      m_errorMark(symbolLabel(parts.theme, u"exclamationmark.triangle.fill", Color::red)),
      m_error(new TextLabel(parts.theme, {}, TypeStyle::small, Color::red)),
      m_hint(new TextLabel(parts.theme, {}, TypeStyle::small, Color::text2)),
      m_selected(new FixedDigitLabel(parts.theme, {}, TypeStyle::small, Color::text)),
      m_count(new FixedDigitLabel(parts.theme, {}, TypeStyle::small, Color::text2)),
      m_clock(symbolLabel(parts.theme, u"clock", Color::muted)),
      m_lastRefresh(new FixedDigitLabel(parts.theme, {}, TypeStyle::small, Color::muted)),
      m_scope(parts.main, parts.pool)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(parts.theme.space(Space::gap));
    addPages();
    column->addLayout(makeTools());
    column->addWidget(m_progress);
    column->addWidget(m_pages, 1);
    column->addLayout(makeStatusLine());
    m_view->setAccessibleName(browser::holdsSeries(parts.table.kind()) ? tr("Series") : tr("Studies"));
    addShortcuts();
    restoreColumns();
    listen();
    showState();
}

QHBoxLayout *BrowserPanel::makeTools()
{
    m_tools = new QHBoxLayout;
    m_tools->setSpacing(m_parts.theme.space(Space::tight));
    m_search->setMinimumWidth(kLeastSearchWidth);
    m_search->setAccessibleName(tr("Search"));
    m_tools->addWidget(m_search, 1);
    m_tools->addWidget(m_export);
    m_tools->addWidget(m_delete);
    m_delete->setToolTip(tr("Delete Selected (Del)"));
    return m_tools;
}

void BrowserPanel::addTool(QWidget *tool)
{
    m_tools->insertWidget(m_tools->indexOf(m_export), tool);
}

void BrowserPanel::addPages()
{
    const Theme &theme = m_parts.theme;
    const browser::TableKind kind = m_parts.table.kind();
    const QString table = QStringLiteral("tablecells");
    m_signedOut =
        new EmptyState(theme, {QStringLiteral("lock.fill"), browser::signInWords(kind), {}, tr("Sign in")});
    m_loading = new QWidget;
    auto *bars = new QVBoxLayout(m_loading);
    bars->addWidget(new TextLabel(theme, loadingWords(kind), TypeStyle::small, Color::text2));
    bars->addWidget(new Skeleton(theme, kSkeletonRows));
    bars->addStretch();
    m_notAsked = new EmptyState(theme, {QStringLiteral("magnifyingglass"), notLoadedWords(kind), {}, {}});
    m_nothing = new EmptyState(theme, {table, browser::nothingFoundWords(kind), {}, {}});
    m_noMatch = new EmptyState(theme,
                               {QStringLiteral("magnifyingglass"),
                                tr("Nothing here matches your search."),
                                tr("All rows are there still."),
                                tr("Clear Search")});
    m_failed = new InlineError(theme);
    m_pages->setMinimumHeight(kLeastListHeight);
    for (QWidget *each : {static_cast<QWidget *>(m_view),
                          static_cast<QWidget *>(m_signedOut),
                          m_loading,
                          static_cast<QWidget *>(m_notAsked),
                          static_cast<QWidget *>(m_nothing),
                          static_cast<QWidget *>(m_noMatch),
                          static_cast<QWidget *>(m_failed)}) {
        m_pages->addWidget(each);
    }
}

QHBoxLayout *BrowserPanel::makeStatusLine()
{
    auto *row = new QHBoxLayout;
    row->setSpacing(m_parts.theme.space(Space::tight));
    m_error->setWordWrap(true); // a server may have many
    row->addWidget(m_errorMark);
    row->addWidget(m_error, 1);
    row->addWidget(m_hint);
    row->addWidget(m_selected);
    row->addStretch();
    row->addWidget(m_count);
    row->addSpacing(m_parts.theme.space(Space::gap));
    row->addWidget(m_clock);
    row->addWidget(m_lastRefresh);
    return row;
}

void BrowserPanel::addShortcuts()
{
    auto *find = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(find, &QShortcut::activated, this, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    auto *reload = new QShortcut(QKeySequence(Qt::Key_F5), this);
    connect(reload, &QShortcut::activated, this, &BrowserPanel::reloadRequested);
}

} // namespace gateway::shell
