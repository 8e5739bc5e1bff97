#include "shell/controls/button.h"

#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 16;
constexpr int kSymbolGap = 8;
constexpr int kCompactSymbolGap = 5;
constexpr int kChevronEdge = 14;

} // namespace

struct Button::Look
{
    QColor fill;
    QColor border;
    Color content;
};

Button::Button(
    const Theme &theme, ButtonKind kind, const QString &title, const QString &symbol, QWidget *parent)
    : QPushButton(title, parent), m_theme(theme), m_kind(kind), m_symbol(symbol), m_hover(theme, *this, 0),
      m_spin(theme, *this)
{
    setFont(theme.font(TypeStyle::bodyStrong));
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    setAutoDefault(true); // Return presses the button that has the focus, in any window
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    connect(&m_spin, &FrameTicker::frame, this, qOverload<>(&QWidget::update));
}

void Button::setSymbol(const QString &symbol)
{
    m_symbol = symbol;
    updateGeometry();
    update();
}

void Button::setBusy(bool busy)
{
    m_isBusy = busy;
    m_spin.setWanted(busy);
    setAccessibleDescription(busy ? tr("Busy") : QString());
    update();
}

void Button::setCapsule(bool capsule)
{
    m_isCapsule = capsule;
    updateGeometry();
    update();
}

void Button::setCompact()
{
    m_isCompact = true;
    setProperty("compact", true); // for the style sheet, which has a word in height and font
    setFont(m_theme.font(TypeStyle::small));
    updateGeometry();
    update();
}

/// What is kept free at both ends, at most.
int Button::sideMargin() const
{
    return m_theme.space(m_isCompact ? Space::tight : Space::wide);
}

int Button::symbolGap() const
{
    return m_isCompact ? kCompactSymbolGap : kSymbolGap;
}

double Button::cornerRadius() const
{
    return m_isCapsule ? height() / 2.0 : m_theme.radius(Radius::control);
}

int Button::contentWidth() const
{
    int width = text().isEmpty() ? 0 : fontMetrics().size(Qt::TextShowMnemonic, text()).width() + 1;
    if (!m_symbol.isEmpty()) {
        width += kSymbolEdge + (text().isEmpty() ? 0 : symbolGap());
    }
    return menu() == nullptr ? width : width + kChevronEdge + kSymbolGap / 2;
}

QSize Button::sizeHint() const
{
    const int height = m_theme.size(m_isCompact ? Size::rowCompact : Size::control);
    if (text().isEmpty()) {
        return {std::max(height, contentWidth() + m_theme.space(Space::wide)), height};
    }
    return {contentWidth() + 2 * sideMargin(), height};
}

bool Button::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool isPress =
        type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick || type == QEvent::KeyPress;
    const bool isTab = type == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() != Qt::Key_Space &&
                       static_cast<QKeyEvent *>(event)->key() != Qt::Key_Return &&
                       static_cast<QKeyEvent *>(event)->key() != Qt::Key_Enter;
    if (m_isBusy && isPress && !isTab) {
        event->accept();
        return true;
    }
    if (type == QEvent::Enter || type == QEvent::Leave || type == QEvent::EnabledChange) {
        m_hover.moveTo(type != QEvent::Leave && underMouse() && isEnabled() ? 1 : 0);
    }
    return QPushButton::event(event);
}

Button::Look Button::look() const
{
    const auto color = [this](Color which) { return m_theme.color(which); };
    const double hover = m_hover.value();
    const auto fading = [&](Color rest, Color over) {
        const QColor mixed = Theme::mixed(color(rest), color(over), hover);
        return isDown() ? m_theme.pressed(mixed) : mixed;
    };
    switch (m_kind) {
    case ButtonKind::primary:
        return {fading(Color::blueFill, Color::blueFillHover), Qt::transparent, Color::onBlue};
    case ButtonKind::destructiveFinal:
        return {fading(Color::redFill, Color::redFillHover), Qt::transparent, Color::onRed};
    case ButtonKind::destructive: {
        QColor fill = m_theme.tinted(Color::red, isDown() ? Strength::glow : Strength::tint);
        fill.setAlphaF(isDown() ? fill.alphaF() : fill.alphaF() * static_cast<float>(hover));
        return {fill, color(Color::red), Color::red};
    }
    case ButtonKind::secondary:
        return {fading(Color::raised, Color::hover), color(Color::lineStrong), Color::text};
    case ButtonKind::quiet:
        break;
    }
    QColor fill = fading(Color::hover, Color::hover);
    fill.setAlphaF(isDown() ? 1.0F : static_cast<float>(hover));
    return {fill, Qt::transparent, hover > 0.5 ? Color::text : Color::text2};
}

void Button::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    Look now = look();
    if (isChecked()) {
        now = {m_theme.color(Color::selected), m_theme.color(Color::blue), Color::text};
    }
    if (!isEnabled()) {
        const bool isBare = m_kind == ButtonKind::quiet;
        now = {isBare ? QColor(Qt::transparent) : m_theme.color(Color::raised),
               isBare ? QColor(Qt::transparent) : m_theme.color(Color::line),
               Color::disabled};
    }
    painter.setPen(now.border.alpha() == 0 ? QPen(Qt::NoPen) : QPen(now.border, 1));
    painter.setBrush(now.fill);
    const double inset = now.border.alpha() == 0 ? 0 : 0.5;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset),
                            cornerRadius() - inset,
                            cornerRadius() - inset);
    if (m_isBusy) {
        QRectF circle(0, 0, kSymbolEdge, kSymbolEdge);
        circle.moveCenter(QRectF(rect()).center());
        paintSpinner(
            painter, m_theme, circle, now.content, std::chrono::duration<double>(m_spin.elapsed()).count());
    } else {
        paintContent(painter, now.content);
    }
    if (showsFocus(*this)) {
        paintFocusRing(painter, m_theme, rect(), cornerRadius());
    }
}

void Button::paintContent(QPainter &painter, Color color) const
{
    const int margin = text().isEmpty() ? 0 : std::min(m_theme.space(Space::gap), sideMargin());
    QRect left = rect().adjusted(margin, 0, -margin, 0);
    left.setLeft(left.left() + std::max(0, (left.width() - contentWidth()) / 2));
    if (!m_symbol.isEmpty()) {
        paintSymbol(
            painter, m_theme, QRect(left.left(), 0, kSymbolEdge, height()), m_symbol, color, kSymbolEdge);
        left.setLeft(left.left() + kSymbolEdge + symbolGap());
    }
    if (menu() != nullptr) {
        const int chevron = rect().right() - (text().isEmpty() ? kSymbolGap / 2 : margin - 2) - kChevronEdge;
        paintSymbol(painter,
                    m_theme,
                    QRect(chevron, 0, kChevronEdge, height()),
                    u"chevron.down",
                    color,
                    kChevronEdge);
        left.setRight(chevron - 2);
    }
    painter.setPen(m_theme.color(color));
    painter.setFont(font());
    const QString shown =
        fontMetrics().elidedText(text(), Qt::ElideRight, left.width(), Qt::TextShowMnemonic);
    painter.drawText(left, int{Qt::AlignVCenter | Qt::AlignLeft} | Qt::TextHideMnemonic, shown);
}

} // namespace gateway::shell
