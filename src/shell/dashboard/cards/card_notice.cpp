#include "shell/dashboard/cards/card_notice.h"

#include "shell/controls/button.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/cards/paragraph.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtWidgets/QHBoxLayout>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kLeastHeight = 56;
constexpr int kSymbolEdge = 20;
constexpr int kLineGap = 2;
constexpr double kBarHeight = 3;

} // namespace

CardNotice::CardNotice(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme),
      m_symbol(new SymbolTile(
          theme, QStringLiteral("tray.fill"), Color::text2, kSymbolEdge, SymbolTile::Ground::none)),
      m_title(new TextLabel(theme, {}, TypeStyle::bodyStrong)),
      m_sentence(new Paragraph(theme, TypeStyle::small, Color::text2)),
      m_action(new Button(theme, ButtonKind::secondary, {}))
{
    announceAccessible();
    auto *row = new QHBoxLayout(this);
    const int gap = theme.space(Space::gap);
    row->setContentsMargins(gap, theme.space(Space::tight), gap, theme.space(Space::tight));
    row->setSpacing(gap);
    row->addWidget(m_symbol);
    auto *words = new QVBoxLayout;
    words->setSpacing(kLineGap);
    words->addStretch();
    words->addWidget(m_title);
    words->addWidget(m_sentence);
    words->addStretch();
    row->addLayout(words, 1);
    row->addWidget(m_action);
    row->addStrut(kLeastHeight - 2 * theme.space(Space::tight));
    m_action->hide();
    connect(m_action, &QAbstractButton::clicked, this, &CardNotice::actionRequested);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void CardNotice::setWords(const Words &words)
{
    if (words == m_words) {
        return;
    }
    const bool isNews = words.title != m_words.title;
    m_words = words;
    m_symbol->setSymbol(words.symbol, words.color);
    m_title->setText(words.title);
    m_sentence->setText(words.sentence);
    m_action->setText(words.action);
    m_action->setVisible(!words.action.isEmpty());
    update();
    if (isNews) {
        QAccessibleEvent renamed(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&renamed);
    }
}

QString CardNotice::accessibleWords() const
{
    return tr("%1. %2").arg(m_words.title, m_words.sentence);
}

void CardNotice::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = m_theme.radius(Radius::chip);
    const bool isPlain = m_words.color == Color::text2;
    QPainterPath ground;
    ground.addRoundedRect(rect(), radius, radius);
    QColor fill = isPlain ? m_theme.color(Color::hover) : m_theme.tinted(m_words.color);
    if (isPlain) {
        fill.setAlphaF(0.35F);
    }
    painter.fillPath(ground, fill);
    if (m_words.share) {
        painter.setClipPath(ground);
        const QRectF bar(
            0, height() - kBarHeight, width() * std::clamp(*m_words.share, 0.0, 1.0), kBarHeight);
        painter.fillRect(bar, m_theme.color(m_words.color));
    }
}

} // namespace gateway::shell
