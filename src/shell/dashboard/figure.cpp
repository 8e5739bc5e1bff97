#include "shell/dashboard/figure.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtCore/QLocale>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kLineGap = 2;

} // namespace

Figure::Figure(const Theme &theme, const QString &caption, TypeStyle style, QWidget *parent)
    : Figure(theme, caption, new FixedDigitLabel(theme, QStringLiteral("--"), style), parent)
{
}

Figure::Figure(const Theme &theme, const QString &caption, FixedDigitLabel *value, QWidget *parent)
    : QWidget(parent), m_caption(caption), m_value(value)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(kLineGap);
    column->addWidget(new TextLabel(theme, caption, TypeStyle::small, Color::text2));
    column->addWidget(value);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void Figure::setText(const QString &text)
{
    m_value->setText(text);
    m_value->setAccessibleName(tr("%1: %2").arg(m_caption, text));
}

void Figure::setCount(std::int64_t count)
{
    setText(QLocale().toString(static_cast<qlonglong>(count)));
}

void Figure::setColor(Color color)
{
    m_value->setColor(color);
}

QString Figure::text() const
{
    return m_value->text();
}

} // namespace gateway::shell
