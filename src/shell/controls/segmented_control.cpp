#include "shell/controls/segmented_control.h"

#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QRadioButton>

namespace gateway::shell {

namespace {

constexpr int kFrame = 3; // between the control's edge and its segments
constexpr int kSymbolEdge = 16;
constexpr int kSymbolGap = 7;

/// One choice. A radio button, so that exclusion, arrow keys and accessibility are those of radio buttons.
///
/// Owner: the control. Thread: main.
class Segment : public QRadioButton
{
public:
    Segment(const Theme &theme, const QString &title, QString symbol, QWidget *parent)
        : QRadioButton(title, parent), m_theme(theme), m_symbol(std::move(symbol))
    {
        setFont(theme.font(TypeStyle::bodyStrong));
        setAttribute(Qt::WA_Hover);
    }

    QSize sizeHint() const override
    {
        const int symbol = m_symbol.isEmpty() ? 0 : kSymbolEdge + kSymbolGap;
        const int words = widthOf(font(), text());
        return {words + symbol + 2 * m_theme.space(Space::gap), m_theme.size(Size::control) - 2 * kFrame};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint &position) const override { return rect().contains(position); }

    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double radius = m_theme.radius(Radius::control) - kFrame + 1;
        const bool isOver = isEnabled() && underMouse();
        if (isChecked() || isOver || isDown()) {
            painter.setPen(Qt::NoPen);
            const Color fill = isChecked() || isDown() ? Color::selected : Color::hover;
            painter.setBrush(m_theme.color(isEnabled() ? fill : Color::hover));
            painter.drawRoundedRect(rect(), radius, radius);
        }
        const Color enabled = isChecked() || isOver ? Color::text : Color::text2;
        paintContent(painter, isEnabled() ? enabled : Color::disabled);
        if (showsFocus(*this)) {
            paintFocusRing(painter, m_theme, rect(), radius);
        }
    }

private:
    void paintContent(QPainter &painter, Color color) const
    {
        QRect left = rect();
        const int words = widthOf(font(), text());
        if (!m_symbol.isEmpty()) {
            const int start = (width() - words - kSymbolEdge - kSymbolGap) / 2;
            paintSymbol(
                painter, m_theme, QRect(start, 0, kSymbolEdge, height()), m_symbol, color, kSymbolEdge);
            left.setLeft(start + kSymbolEdge + kSymbolGap);
            left.setWidth(words);
        }
        painter.setPen(m_theme.color(color));
        painter.drawText(left, Qt::AlignCenter, text());
    }

    const Theme &m_theme;
    const QString m_symbol;
};

} // namespace

SegmentedControl::SegmentedControl(const Theme &theme, QWidget *parent) : QWidget(parent), m_theme(theme)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(kFrame, kFrame, kFrame, kFrame);
    row->setSpacing(2);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&m_group, &QButtonGroup::idToggled, this, [this](int index, bool on) {
        if (on) {
            Q_EMIT currentChanged(index);
        }
    });
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void SegmentedControl::addSegment(const QString &title, const QString &symbol)
{
    auto *segment = new Segment(m_theme, title, symbol, this);
    const auto index = static_cast<int>(m_group.buttons().size());
    layout()->addWidget(segment);
    m_group.addButton(segment, index);
    if (index == 0) {
        segment->setChecked(true);
    }
}

void SegmentedControl::setCurrentIndex(int index)
{
    if (QAbstractButton *segment = m_group.button(index)) {
        segment->setChecked(true);
    }
}

void SegmentedControl::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = m_theme.radius(Radius::control);
    painter.setPen(QPen(m_theme.color(Color::lineStrong), 1));
    painter.setBrush(m_theme.color(Color::raised));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace gateway::shell
