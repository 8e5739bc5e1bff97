#include "shell/controls/form_field.h"

#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

FormField::FormField(
    const Theme &theme, const QString &label, TextField *field, const QString &hint, QWidget *parent)
    : QWidget(parent), m_field(field), m_line(new QHBoxLayout), m_hint(hint),
      m_below(new TextLabel(theme, hint, TypeStyle::small, Color::muted))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(theme.space(Space::hair) + 2);
    auto *name = new TextLabel(theme, label, TypeStyle::small, Color::text2);
    name->setBuddy(field);
    column->addWidget(name);
    m_line->setSpacing(theme.space(Space::gap));
    m_line->addWidget(field, 1);
    column->addLayout(m_line);
    m_below->setWordWrap(true);
    m_below->setVisible(!hint.isEmpty());
    column->addWidget(m_below);
    field->setAccessibleName(label);
    field->setAccessibleDescription(hint);
}

void FormField::addBeside(QWidget *part)
{
    m_line->addWidget(part);
}

void FormField::setHint(const QString &hint)
{
    m_hint = hint;
    showBelow();
}

void FormField::setError(const QString &reason)
{
    m_reason = reason;
    showBelow();
}

void FormField::showBelow()
{
    const bool isWrong = !m_reason.isEmpty();
    const QString &words = isWrong ? m_reason : m_hint;
    m_field->setInvalid(isWrong);
    m_field->setAccessibleDescription(words);
    m_below->setColor(isWrong ? Color::red : Color::muted);
    m_below->setText(words);
    m_below->setVisible(!words.isEmpty());
}

} // namespace gateway::shell
