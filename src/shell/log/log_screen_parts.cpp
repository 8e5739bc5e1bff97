// How the log screen is put together; what it does stands in log_screen.cpp.
#include "log/browsing/gateway_logs_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/switch.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/controls/wrap_row.h"
#include "shell/log/log_details.h"
#include "shell/log/log_screen.h"
#include "shell/log/log_screen_words.h"
#include "shell/log/log_table.h"
#include "shell/log/log_table_model.h"
#include "shell/theme/theme.h"

#include <QtGui/QShortcut>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QStackedWidget>

namespace gateway::shell {

namespace {

constexpr int kSkeletonRows = 9;
constexpr int kLeastListHeight = 180;
constexpr int kLeastSearchWidth = 280;

/// What the log holds; what it is called stands above the card.
QWidget *makeHeading(const Theme &theme)
{
    auto *heading = new QWidget;
    auto *row = new QHBoxLayout(heading);
    row->setContentsMargins({});
    row->setSpacing(theme.space(Space::gap));
    row->addWidget(new SymbolTile(theme,
                                  QStringLiteral("list.bullet.rectangle"),
                                  Color::blue,
                                  theme.size(Size::icon),
                                  SymbolTile::Ground::tinted));
    row->addWidget(new TextLabel(theme,
                                 LogScreen::tr("Structured receive/send events with strict redaction"),
                                 TypeStyle::body,
                                 Color::text2),
                   1);
    return heading;
}

template <typename Filter>
void fill(ComboBox &box, std::initializer_list<Filter> filters, const QString &name)
{
    for (const Filter filter : filters) {
        box.addItem(wordFor(filter), static_cast<int>(filter));
    }
    box.setAccessibleName(name);
}

} // namespace

LogScreen::LogScreen(const LogScreenParts &parts, QWidget *parent)
    : Canvas(parts.theme, parent), m_parts(parts), m_rows(new LogTableModel(this)),
      m_search(new SearchField(parts.theme, tr("Search action, hash, correlation, error…"))),
      m_level(new ComboBox(parts.theme)), m_category(new ComboBox(parts.theme)),
      m_reset(new Button(parts.theme,
                         ButtonKind::quiet,
                         tr("Reset Filters"),
                         QStringLiteral("line.3.horizontal.decrease.circle"))),
      m_life(new TextLabel(parts.theme, {}, TypeStyle::body)),
      m_autoRefresh(new Switch(parts.theme, tr("Auto-refresh"))),
      m_refresh(
          new Button(parts.theme, ButtonKind::secondary, tr("Refresh"), QStringLiteral("arrow.clockwise"))),
      m_delete(new Button(parts.theme, ButtonKind::destructive, tr("Delete Logs"), QStringLiteral("trash"))),
      m_error(new InlineError(parts.theme)), m_pages(new QStackedWidget),
      m_table(new LogTable(parts.theme, *m_rows)), m_details(new LogDetails(parts.theme)),
      m_count(new FixedDigitLabel(parts.theme, {}, TypeStyle::small, Color::text2)),
      m_lastRefresh(new FixedDigitLabel(parts.theme, {}, TypeStyle::small, Color::muted)),
      m_scope(parts.main, parts.pool)
{
    const Theme &theme = parts.theme;
    auto *page = new QVBoxLayout(this);
    const int margin = theme.space(Space::page);
    page->setContentsMargins(margin, margin, margin, margin);
    auto *card = new Card(theme);
    page->addWidget(card);
    card->body().addWidget(makeHead());
    m_filters = makeFilters();
    m_lifeBar = makeLifeBar();
    card->body().addWidget(m_filters);
    card->body().addWidget(m_lifeBar);
    card->body().addWidget(m_error);
    addPages();
    card->body().addWidget(m_pages, 1);
    card->body().addWidget(m_details);
    card->body().addLayout(makeFooter());
    m_details->hide();
    restoreColumns();
    listen();
    showRows();
}

QWidget *LogScreen::makeHead()
{
    const Theme &theme = m_parts.theme;
    auto *head = new QWidget;
    auto *row = new WrapRow(head, theme.space(Space::tight));
    auto *folder = new Button(theme, ButtonKind::secondary, tr("Open Folder"), QStringLiteral("folder"));
    row->addWidget(makeHeading(theme));
    row->addWidget(m_autoRefresh);
    for (Button *button : {m_refresh, folder, m_delete}) {
        row->addWidget(button);
    }
    m_refresh->setToolTip(tr("Refresh (F5)"));
    m_autoRefresh->setChecked(isAutoRefreshWanted());
    connect(m_autoRefresh, &QAbstractButton::toggled, this, [this](bool enabled) {
        storeAutoRefresh(enabled);
        setAutoRefresh(enabled);
    });
    auto *f5 = new QShortcut(QKeySequence(Qt::Key_F5), this);
    connect(f5, &QShortcut::activated, &m_parts.model, &log::GatewayLogsViewModel::refresh);
    connect(m_refresh, &QAbstractButton::clicked, &m_parts.model, &log::GatewayLogsViewModel::refresh);
    connect(folder, &QAbstractButton::clicked, this, &LogScreen::openFolder);
    connect(m_delete, &QAbstractButton::clicked, this, &LogScreen::askToDelete);
    return head;
}

QWidget *LogScreen::makeFilters()
{
    using log::CategoryFilter;
    using log::LevelFilter;
    fill(*m_level,
         {LevelFilter::all, LevelFilter::debug, LevelFilter::info, LevelFilter::warning, LevelFilter::error},
         tr("Level"));
    fill(*m_category,
         {CategoryFilter::all,
          CategoryFilter::listener,
          CategoryFilter::receive,
          CategoryFilter::send,
          CategoryFilter::uploadQueue,
          CategoryFilter::quorinCloud},
         tr("Category"));
    auto *filters = new QWidget;
    auto *row = new QHBoxLayout(filters);
    row->setContentsMargins({});
    row->setSpacing(m_parts.theme.space(Space::tight));
    m_search->setMinimumWidth(kLeastSearchWidth);
    m_search->setText(m_parts.model.searchText());
    row->addWidget(m_search, 1);
    row->addWidget(m_level);
    row->addWidget(m_category);
    row->addWidget(m_reset);
    connect(m_reset, &QAbstractButton::clicked, this, &LogScreen::resetFilters);
    auto *find = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(find, &QShortcut::activated, this, [this] {
        endLife();
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    return filters;
}

QWidget *LogScreen::makeLifeBar()
{
    auto *bar = new QWidget;
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins({});
    row->setSpacing(m_parts.theme.space(Space::tight));
    auto *all = new Button(
        m_parts.theme, ButtonKind::secondary, tr("Show All Events"), QStringLiteral("chevron.left"));
    row->addWidget(all);
    row->addWidget(m_life);
    row->addStretch();
    connect(all, &QAbstractButton::clicked, this, [this] {
        endLife();
        m_table->setFocus();
    });
    return bar;
}

void LogScreen::addPages()
{
    const Theme &theme = m_parts.theme;
    m_loading = new QWidget;
    auto *bars = new QVBoxLayout(m_loading);
    bars->addWidget(new Skeleton(theme, kSkeletonRows));
    bars->addStretch();
    m_noMatch = new EmptyState(theme,
                               {QStringLiteral("line.3.horizontal.decrease.circle"),
                                tr("No log events match your filters."),
                                tr("Search for something else, or show all levels and categories."),
                                tr("Reset Filters")});
    m_noEvents =
        new EmptyState(theme,
                       {QStringLiteral("list.bullet.rectangle"),
                        tr("No log events yet"),
                        tr("As soon as images are received or sent, what happens to them is listed here."),
                        {}});
    m_nothing = new QWidget;
    m_pages->setMinimumHeight(kLeastListHeight);
    for (QWidget *each : {static_cast<QWidget *>(m_table),
                          m_loading,
                          static_cast<QWidget *>(m_noMatch),
                          static_cast<QWidget *>(m_noEvents),
                          m_nothing}) {
        m_pages->addWidget(each);
    }
}

QHBoxLayout *LogScreen::makeFooter()
{
    auto *row = new QHBoxLayout;
    row->addWidget(m_count);
    row->addStretch();
    row->addWidget(m_lastRefresh);
    return row;
}

} // namespace gateway::shell
