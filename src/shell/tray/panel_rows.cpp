#include "shell/tray/panel_rows.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/frame_ticker.h"
#include "shell/controls/painting.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/controls/tool_tip.h"
#include "shell/theme/theme.h"

#include <QtCore/QLocale>
#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>

#include <chrono>

namespace gateway::shell {

namespace {

constexpr int kSymbolEdge = 16;

/// A circle that turns.
class Spinner : public QWidget
{
public:
    Spinner(const Theme &theme, QWidget *parent) : QWidget(parent), m_theme(theme), m_ticker(theme, *this)
    {
        setFixedSize(kSymbolEdge, kSymbolEdge);
        m_ticker.setWanted(true);
        connect(&m_ticker, &FrameTicker::frame, this, qOverload<>(&QWidget::update));
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double turn = std::chrono::duration<double>(m_ticker.elapsed()).count();
        paintSpinner(painter, m_theme, QRectF(rect()).adjusted(1, 1, -1, -1), Color::blue, turn);
    }

private:
    const Theme &m_theme;
    FrameTicker m_ticker;
};

QHBoxLayout *rowIn(QWidget &widget, const Theme &theme)
{
    auto *row = new QHBoxLayout(&widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(theme.space(Space::tight) + 2);
    return row;
}

} // namespace

PanelLine::PanelLine(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_tile(new SymbolTile(theme, {}, Color::text2, kSymbolEdge, SymbolTile::Ground::none)),
      m_spinner(new Spinner(theme, this)), m_label(new TextLabel(theme, {}, TypeStyle::bodyStrong))
{
    QHBoxLayout *row = rowIn(*this, theme);
    row->addWidget(m_tile);
    row->addWidget(m_spinner);
    row->addWidget(m_label, 1);
    m_label->setMinimumWidth(0);
    m_label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_spinner->hide();
}

void PanelLine::setContent(const QString &symbol, Color color, const QString &text)
{
    m_isBusy = false;
    m_symbol = symbol;
    m_color = color;
    m_tile->setSymbol(symbol, color);
    show(text);
}

void PanelLine::setBusy(const QString &text)
{
    m_isBusy = true;
    m_symbol.clear();
    show(text);
}

void PanelLine::show(const QString &text)
{
    m_text = text;
    m_tile->setVisible(!m_isBusy);
    m_spinner->setVisible(m_isBusy);
    m_label->setAccessibleName(text);
    elide();
}

void PanelLine::elide()
{
    const QString shown = m_label->fontMetrics().elidedText(m_text, Qt::ElideRight, m_label->width());
    m_label->setText(shown);
    m_label->setToolTip(shown == m_text ? QString() : toolTipOf(m_text));
}

void PanelLine::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layout()->activate();
    elide();
}

FigureRow::FigureRow(
    const Theme &theme, const QString &symbol, Color color, const QString &title, QWidget *parent)
    : QWidget(parent), m_symbol(symbol), m_color(color), m_title(title),
      m_tile(new SymbolTile(theme, symbol, Color::muted, kSymbolEdge, SymbolTile::Ground::none)),
      m_number(new FixedDigitLabel(theme, QStringLiteral("0"), TypeStyle::h3))
{
    QHBoxLayout *row = rowIn(*this, theme);
    row->addWidget(m_tile);
    row->addWidget(new TextLabel(theme, title, TypeStyle::body, Color::text2), 1);
    m_number->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(m_number);
}

void FigureRow::setFigure(std::int64_t figure, Color color)
{
    const QString text = QLocale().toString(qlonglong{figure});
    m_tile->setSymbol(m_symbol, figure == 0 ? Color::muted : m_color);
    m_number->setText(text);
    m_number->setColor(color);
    m_number->setAccessibleName(m_title + u' ' + text);
}

QString FigureRow::figureText() const
{
    return m_number->text();
}

} // namespace gateway::shell
