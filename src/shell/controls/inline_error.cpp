#include "shell/controls/inline_error.h"

#include "shell/controls/button.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

InlineError::InlineError(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_whatHappened(new TextLabel(theme, {}, TypeStyle::bodyStrong)),
      m_whatToDo(new TextLabel(theme, {}, TypeStyle::body, Color::text2)),
      m_action(new Button(theme, ButtonKind::secondary, {}))
{
    announceAccessible();
    auto *row = new QHBoxLayout(this);
    const int gap = theme.space(Space::gap);
    row->setContentsMargins(gap + 2, gap, gap, gap);
    row->setSpacing(gap);
    row->addWidget(new SymbolTile(theme,
                                  QStringLiteral("exclamationmark.triangle.fill"),
                                  Color::red,
                                  theme.size(Size::icon),
                                  SymbolTile::Ground::none),
                   0,
                   Qt::AlignTop);
    auto *words = new QVBoxLayout;
    words->setSpacing(theme.space(Space::hair));
    for (TextLabel *label : {m_whatHappened, m_whatToDo}) {
        label->setWordWrap(true);
        words->addWidget(label);
    }
    row->addLayout(words, 1);
    row->addWidget(m_action, 0, Qt::AlignVCenter);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    connect(m_action, &QAbstractButton::clicked, this, &InlineError::actionRequested);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    hide();
}

void InlineError::showMessage(const QString &whatHappened, const QString &whatToDo, const QString &action)
{
    m_whatHappened->setText(whatHappened);
    m_whatToDo->setText(whatToDo);
    m_whatToDo->setVisible(!whatToDo.isEmpty());
    m_action->setText(action);
    m_action->setVisible(!action.isEmpty());
    show();
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

QString InlineError::accessibleWords() const
{
    return (m_whatHappened->text() + u' ' + m_whatToDo->text()).trimmed();
}

void InlineError::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = m_theme.radius(Radius::chip);
    QColor border = m_theme.color(Color::red);
    border.setAlphaF(0.4F);
    painter.setPen(QPen(border, 1));
    painter.setBrush(m_theme.tinted(Color::red));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace gateway::shell
