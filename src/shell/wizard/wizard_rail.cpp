#include "shell/wizard/wizard_rail.h"

#include "shell/controls/painting.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

using wizard::GatewaySetupStep;

namespace {

constexpr int kWidth = 236;
constexpr int kMarkEdge = 26;
constexpr int kCheckEdge = 14;

} // namespace

/// One step: its number or a check mark, its title and detail.
///
/// Owner: the rail.
class WizardRailStep : public QWidget
{
public:
    enum class State
    {
        done,
        present,
        ahead
    };

    WizardRailStep(const Theme &theme, GatewaySetupStep step, QWidget *parent)
        : QWidget(parent), m_theme(theme), m_number(static_cast<int>(step) + 1),
          m_title(new TextLabel(theme, wizard::stepTitle(step), TypeStyle::bodyStrong)),
          m_detail(new TextLabel(theme, wizard::stepDetail(step), TypeStyle::small, Color::muted))
    {
        auto *column = new QVBoxLayout(this);
        const int gap = theme.space(Space::gap);
        column->setContentsMargins(gap + kMarkEdge + gap, gap - 2, theme.space(Space::tight), gap - 2);
        column->setSpacing(1);
        for (TextLabel *label : {m_title, m_detail}) {
            label->setWordWrap(true);
            column->addWidget(label);
        }
        connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    }

    void setState(State state)
    {
        m_state = state;
        m_title->setColor(state == State::ahead ? Color::text2 : Color::text);
        update();
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (m_state == State::present) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(m_theme.color(Color::selected));
            const double radius = m_theme.radius(Radius::chip);
            painter.drawRoundedRect(rect(), radius, radius);
        }
        const QRectF mark(m_theme.space(Space::gap), (height() - kMarkEdge) / 2.0, kMarkEdge, kMarkEdge);
        paintMark(painter, mark);
    }

private:
    void paintMark(QPainter &painter, const QRectF &mark) const
    {
        if (m_state == State::done) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(m_theme.tinted(Color::green));
            painter.drawEllipse(mark);
            paintSymbol(painter, m_theme, mark, u"checkmark", Color::green, kCheckEdge);
            return;
        }
        const bool isPresent = m_state == State::present;
        painter.setPen(isPresent ? QPen(Qt::NoPen) : QPen(m_theme.color(Color::inputBorder), 1.5));
        painter.setBrush(isPresent ? QBrush(m_theme.color(Color::blueFill)) : QBrush(Qt::NoBrush));
        painter.drawEllipse(mark.adjusted(1, 1, -1, -1));
        painter.setFont(m_theme.font(TypeStyle::bodyStrong));
        painter.setPen(m_theme.color(isPresent ? Color::onBlue : Color::muted));
        painter.drawText(mark, Qt::AlignCenter, QString::number(m_number));
    }

    const Theme &m_theme;
    const int m_number;
    State m_state = State::ahead;
    TextLabel *m_title;
    TextLabel *m_detail;
};

WizardRail::WizardRail(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_progress(new TextLabel(theme, {}, TypeStyle::small, Color::muted))
{
    setNarrow(false);
    auto *column = new QVBoxLayout(this);
    const int margin = theme.space(Space::wide);
    column->setContentsMargins(margin, theme.space(Space::page), margin, margin);
    column->setSpacing(theme.space(Space::hair));
    auto *brand = new QHBoxLayout;
    brand->setSpacing(theme.space(Space::gap));
    brand->addWidget(new SymbolTile(theme,
                                    kApplicationSymbol.toString(),
                                    Color::blueHi,
                                    theme.size(Size::icon),
                                    SymbolTile::Ground::tinted),
                     0,
                     Qt::AlignTop);
    auto *names = new QVBoxLayout;
    names->setSpacing(1);
    names->addWidget(new TextLabel(theme, QStringLiteral("Quorin Gateway"), TypeStyle::h3));
    names->addWidget(new TextLabel(theme, tr("Setup Wizard"), TypeStyle::small, Color::text2));
    brand->addLayout(names, 1);
    column->addLayout(brand);
    column->addSpacing(theme.space(Space::wide));
    for (const GatewaySetupStep step : wizard::kAllGatewaySetupSteps) {
        m_steps.append(new WizardRailStep(theme, step, this));
        column->addWidget(m_steps.last());
    }
    column->addStretch(1);
    column->addWidget(m_progress);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void WizardRail::setStep(GatewaySetupStep step)
{
    const int present = static_cast<int>(step);
    for (int at = 0; at < m_steps.size(); ++at) {
        const auto aside = at < present ? WizardRailStep::State::done : WizardRailStep::State::ahead;
        m_steps.at(at)->setState(at == present ? WizardRailStep::State::present : aside);
    }
    m_progress->setText(tr("Step %1 of %2").arg(present + 1).arg(m_steps.size()));
}

void WizardRail::setNarrow(bool narrow)
{
    setFixedWidth(narrow ? m_theme.size(Size::rail) : kWidth);
}

void WizardRail::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_theme.color(Color::rail));
    painter.fillRect(QRect(width() - 1, 0, 1, height()), m_theme.color(Color::line));
}

} // namespace gateway::shell
