#include "shell/preferences/profile_field.h"

#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

ProfileField::ProfileField(const Theme &theme, const QString &name, QWidget *parent)
    : QWidget(parent), m_value(new TextLabel(theme, {}, TypeStyle::body)), m_field(new TextField(theme))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(theme.space(Space::hair) + 2);
    auto *caption = new TextLabel(theme, name, TypeStyle::small, Color::text2);
    caption->setWordWrap(true);
    caption->setBuddy(m_field);
    column->addWidget(caption);
    m_value->setWordWrap(true);
    m_value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_value->setAccessibleDescription(name);
    column->addWidget(m_value);
    m_field->setAccessibleName(name);
    m_field->hide();
    column->addWidget(m_field);
}

void ProfileField::setText(const QString &text)
{
    m_value->setText(text.trimmed().isEmpty() ? QStringLiteral("--") : text);
    if (m_field->text() != text) {
        m_field->setText(text);
    }
}

void ProfileField::setEditing(bool editing)
{
    m_value->setVisible(!editing);
    m_field->setVisible(editing);
}

} // namespace gateway::shell
