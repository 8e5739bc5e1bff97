#include "shell/dashboard/frame/update_banner.h"

#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/symbol_tile.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 18;

} // namespace

UpdateBanner::UpdateBanner(const Theme &theme, const std::function<void()> &checkForUpdates, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_words(new ElidedLabel(theme, TypeStyle::bodyStrong, Color::text))
{
    announceAccessible();
    auto *row = new QHBoxLayout(this);
    row->setSpacing(theme.space(Space::gap));
    row->addWidget(new SymbolTile(theme,
                                  QStringLiteral("arrow.triangle.2.circlepath.circle.fill"),
                                  Color::violet,
                                  kSymbolEdge,
                                  SymbolTile::Ground::none));
    row->addWidget(m_words, 1);
    if (checkForUpdates) {
        auto *check = new Button(theme, ButtonKind::secondary, tr("Check for Updates…"));
        row->addWidget(check);
        connect(check, &QAbstractButton::clicked, this, checkForUpdates);
    }
    setSideMargin(theme.space(Space::page));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    hide();
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void UpdateBanner::setMessage(const std::optional<QString> &message)
{
    m_words->setWords(message.value_or(QString()));
    setVisible(message.has_value());
}

QString UpdateBanner::message() const
{
    return m_words->text();
}

void UpdateBanner::setSideMargin(int margin)
{
    const int inset = m_theme.space(Space::gap);
    layout()->setContentsMargins(
        margin + inset, m_theme.space(Space::wide) + inset / 2, margin + inset / 2, inset / 2);
}

void UpdateBanner::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int inset = m_theme.space(Space::gap);
    const QMargins margins = layout()->contentsMargins();
    const QRect ground =
        rect().adjusted(margins.left() - inset, margins.top() - inset / 2, -(margins.right() - inset / 2), 0);
    const double radius = m_theme.radius(Radius::chip);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_theme.tinted(Color::violet));
    painter.drawRoundedRect(ground, radius, radius);
}

} // namespace gateway::shell
