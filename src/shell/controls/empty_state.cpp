#include "shell/controls/empty_state.h"

#include "shell/controls/button.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 27;
constexpr int kLongestLine = 380;

} // namespace

EmptyState::EmptyState(const Theme &theme, const Words &words, QWidget *parent) : QWidget(parent)
{
    auto *column = new QVBoxLayout(this);
    column->setSpacing(theme.space(Space::tight));
    column->addStretch();
    auto *symbol = new SymbolTile(theme, words.symbol, Color::muted, kSymbolEdge, SymbolTile::Ground::tinted);
    column->addWidget(symbol, 0, Qt::AlignHCenter);
    column->addSpacing(theme.space(Space::tight));
    auto *title = new TextLabel(theme, words.title, TypeStyle::h3);
    column->addWidget(title, 0, Qt::AlignHCenter);
    auto *sentence = new TextLabel(theme, words.sentence, TypeStyle::body, Color::text2);
    sentence->setWordWrap(true);
    sentence->setAlignment(Qt::AlignHCenter);
    sentence->setFixedWidth(kLongestLine);
    auto *middle = new QHBoxLayout; // an alignment would keep the column from asking how high the words are
    middle->addStretch();
    middle->addWidget(sentence);
    middle->addStretch();
    column->addLayout(middle);
    if (words.sentence.isEmpty()) {
        sentence->hide(); // takes no line
    }
    if (!words.action.isEmpty()) {
        column->addSpacing(theme.space(Space::tight));
        auto *button = new PrimaryButton(theme, words.action);
        column->addWidget(button, 0, Qt::AlignHCenter);
        connect(button, &QAbstractButton::clicked, this, &EmptyState::actionRequested);
    }
    column->addStretch();
}

} // namespace gateway::shell
