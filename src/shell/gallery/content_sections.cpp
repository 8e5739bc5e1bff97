#include "shell/controls/button.h"
#include "shell/controls/calendar.h"
#include "shell/controls/card.h"
#include "shell/controls/chip.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/progress_row.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/state_label.h"
#include "shell/controls/storage_hover_tooltip.h"
#include "shell/controls/storage_usage_ring.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/table_view.h"
#include "shell/controls/text_label.h"
#include "shell/controls/unified_card_header.h"
#include "shell/gallery/sections.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"

#include <QtGui/QStandardItemModel>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTabBar>

namespace gateway::shell {

namespace {

Card *cardWith(
    const Theme &theme, const QString &title, const QString &symbol, Color color, QWidget *trailing = nullptr)
{
    auto *card = new Card(theme);
    card->body().addWidget(new UnifiedCardHeader(theme, symbol, title, color, trailing));
    return card;
}

QVBoxLayout *figure(const Theme &theme, const QString &name, const QString &value)
{
    auto *column = new QVBoxLayout;
    column->setSpacing(2);
    column->addWidget(new TextLabel(theme, name, TypeStyle::small, Color::text2));
    column->addWidget(new FixedDigitLabel(theme, value, TypeStyle::h1));
    column->addStretch();
    return column;
}

} // namespace

Card *storageSection(const Theme &theme)
{
    auto *more = new CapsuleButton(theme, QStringLiteral("More"), QStringLiteral("ellipsis.circle"));
    Card *card =
        cardWith(theme, QStringLiteral("Received Items"), QStringLiteral("folder.fill"), Color::blue, more);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::page));
    row->addLayout(figure(theme, QStringLiteral("Studies"), QStringLiteral("1,118")));
    row->addLayout(figure(theme, QStringLiteral("Images"), QStringLiteral("1,411,171")));
    row->addStretch();
    for (const double fraction : {0.0, 0.37, 0.92}) {
        auto *ring = new StorageUsageRing(theme, Color::blue);
        ring->setUsedFraction(fraction);
        row->addWidget(ring);
        auto *tooltip = new StorageHoverTooltip(theme, card);
        tooltip->setText(QStringLiteral("Used: 171.11 GB\nFree: 291.34 GB"));
        tooltip->watch(*ring);
    }
    auto *unknown = new StorageUsageRing(theme, Color::green);
    unknown->setUnknown();
    row->addWidget(unknown);
    card->body().addLayout(row);
    card->body().addStretch();
    return card;
}

Card *stateSection(const Theme &theme)
{
    Card *card =
        cardWith(theme, QStringLiteral("Quorin Cloud Status"), kApplicationSymbol.toString(), Color::green);
    const std::pair<const char *, Color> states[] = {{"READY", Color::green},
                                                     {"RECEIVING", Color::blue},
                                                     {"WAITING", Color::amber},
                                                     {"UNREACHABLE", Color::red}};
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::page));
    auto *chips = new QHBoxLayout;
    chips->setSpacing(theme.space(Space::tight));
    for (const auto &[word, color] : states) {
        auto *state = new StateLabel(theme);
        state->setState(QString::fromLatin1(word), color);
        row->addWidget(state);
        chips->addWidget(new Chip(theme, QString::fromLatin1(word).toLower(), color));
    }
    chips->addWidget(new Chip(theme, QStringLiteral("JPEG-LS"), Color::violet));
    row->addStretch();
    chips->addStretch();
    card->body().addLayout(row);
    card->body().addLayout(chips);
    card->body().addStretch();
    return card;
}

Card *progressSection(const Theme &theme)
{
    Card *card =
        cardWith(theme, QStringLiteral("Long work and failures"), QStringLiteral("clock"), Color::amber);
    for (const qint64 done : {qint64{1204}, qint64{3000}}) {
        auto *row = new ProgressRow(theme, QStringLiteral("Importing"), QStringLiteral("Stop"));
        row->setProgress(done, 3000, QStringLiteral("%L1 of 3,000 files").arg(done));
        if (done == 3000) {
            row->setStopping();
            row->bar().setProperty("tone", QStringLiteral("green"));
        }
        card->body().addWidget(row);
    }
    auto *error = new InlineError(theme);
    card->body().addWidget(error);
    error->showMessage(
        QStringLiteral("The cloud can't be reached."),
        QStringLiteral("Images are still received and kept here. They are sent as soon as the line is back."),
        QStringLiteral("Try again"));
    card->body().addStretch();
    return card;
}

Card *emptySection(const Theme &theme)
{
    Card *card =
        cardWith(theme, QStringLiteral("Empty and loading"), QStringLiteral("tray.fill"), Color::blue);
    card->body().addWidget(
        new EmptyState(theme,
                       {QStringLiteral("photo.stack"),
                        QStringLiteral("No studies yet"),
                        QStringLiteral("What a modality sends to this gateway appears here at once."),
                        QStringLiteral("Manual Upload")}));
    card->body().addWidget(new Skeleton(theme, 4));
    card->body().addStretch();
    return card;
}

Card *tableSection(const Theme &theme)
{
    Card *card = cardWith(theme, QStringLiteral("Local Studies"), QStringLiteral("tablecells"), Color::blue);
    auto *tabs = new QTabBar;
    tabs->setExpanding(false);
    tabs->addTab(QStringLiteral("Studies"));
    tabs->addTab(QStringLiteral("Series"));
    card->body().addWidget(tabs);
    auto *model = new QStandardItemModel(5, 4, card);
    model->setHorizontalHeaderLabels({QStringLiteral("Patient"),
                                      QStringLiteral("Study Date"),
                                      QStringLiteral("Modality"),
                                      QStringLiteral("Images")});
    for (int row = 0; row < 5; ++row) {
        model->setItem(row, 0, new QStandardItem(QStringLiteral("DOE^JANE %1").arg(row)));
        model->setItem(row, 1, new QStandardItem(QStringLiteral("2026-02-1%1").arg(row)));
        model->setItem(row, 2, new QStandardItem(QStringLiteral("CT")));
        auto *images = new QStandardItem(QString::number(118 * (row + 1)));
        images->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        model->setItem(row, 3, images);
    }
    model->horizontalHeaderItem(3)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto *table = new TableView(theme);
    table->setModel(model);
    table->sortByColumn(1, Qt::DescendingOrder);
    table->resizeColumnsToContents();
    table->selectRow(1);
    table->setFixedHeight(230);
    card->body().addWidget(table);
    card->body().addStretch();
    return card;
}

Card *popupSection(const Theme &theme)
{
    Card *card =
        cardWith(theme, QStringLiteral("Menu, list, calendar"), QStringLiteral("calendar"), Color::violet);
    auto *menu = new QMenu;
    menu->setWindowFlags(Qt::Widget);
    menu->addAction(theme.icon(u"wand.and.stars"), QStringLiteral("Setup Wizard…"));
    menu->addAction(theme.icon(u"ladybug.fill"), QStringLiteral("Report a bug"));
    menu->addAction(theme.icon(u"calendar"), QStringLiteral("Unavailable"))->setEnabled(false);
    menu->addSeparator();
    QAction *checked = menu->addAction(QStringLiteral("Last 24 hours"));
    checked->setCheckable(true);
    checked->setChecked(true);
    menu->addAction(theme.icon(u"power"), QStringLiteral("Quit Quorin Gateway"));
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::page));
    menu->setMinimumWidth(menu->sizeHint().width());
    row->addWidget(menu, 0, Qt::AlignTop);
    auto *calendar = new Calendar(theme);
    calendar->setSelectedDate(QDate(2026, 2, 14));
    row->addWidget(calendar, 1);
    card->body().addLayout(row);
    card->body().addStretch();
    return card;
}

Card *symbolSection(const Theme &theme)
{
    Card *card =
        cardWith(theme, QStringLiteral("Symbols"), QStringLiteral("square.grid.2x2.fill"), Color::cyan);
    auto *grid = new QGridLayout;
    grid->setSpacing(theme.space(Space::wide));
    int index = 0;
    const QStringList names = symbolNames();
    for (const QString &name : names) {
        auto *tile = new SymbolTile(theme, name, Color::text2, 20, SymbolTile::Ground::none);
        tile->setToolTip(name);
        grid->addWidget(tile, index / 24, index % 24);
        ++index;
    }
    card->body().addLayout(grid);
    card->body().addStretch();
    return card;
}

} // namespace gateway::shell
