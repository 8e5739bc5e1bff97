#include "shell/controls/text_field.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/theme.h"

#include <QtCore/QVariant>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QStyle>

namespace gateway::shell {

namespace {

constexpr const char *kInvalidProperty = "invalid"; // style.qss reads it

} // namespace

TextField::TextField(const Theme &theme, const QString &prompt, QWidget *parent)
    : QLineEdit(parent), m_theme(theme)
{
    setPlaceholderText(prompt);
    setMinimumWidth(120);
}

void TextField::setInvalid(bool invalid)
{
    if (isInvalid() != invalid) {
        setProperty(kInvalidProperty, invalid);
        style()->unpolish(this);
        style()->polish(this);
        update();
    }
}

bool TextField::isInvalid() const
{
    return property(kInvalidProperty).toBool();
}

PasswordField::PasswordField(const Theme &theme, const QString &prompt, QWidget *parent)
    : TextField(theme, prompt, parent),
      m_reveal(addAction(theme.icon(u"eye", Color::muted), TrailingPosition))
{
    platform::assertMainThread("PasswordField");
    m_reveal->setCheckable(true);
    connect(m_reveal, &QAction::toggled, this, &PasswordField::setRevealed);
    setRevealed(false);
}

void PasswordField::setRevealed(bool revealed)
{
    setEchoMode(revealed ? Normal : Password);
    m_reveal->setChecked(revealed);
    m_reveal->setIcon(theme().icon(revealed ? u"eye.slash" : u"eye", Color::muted));
    m_reveal->setText(revealed ? tr("Hide password") : tr("Show password"));
}

SearchField::SearchField(const Theme &theme, const QString &prompt, QWidget *parent)
    : TextField(theme, prompt, parent),
      m_clear(addAction(theme.icon(u"xmark", Color::muted), TrailingPosition))
{
    platform::assertMainThread("SearchField");
    setAccessibleName(prompt);
    setToolTip(prompt); // which a narrow window cuts
    addAction(theme.icon(u"magnifyingglass", Color::muted), LeadingPosition)->setText(tr("Search"));
    m_clear->setText(tr("Clear search"));
    m_clear->setVisible(false);
    connect(m_clear, &QAction::triggered, this, &QLineEdit::clear);
    connect(this, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_clear->setVisible(!text.isEmpty());
    });
}

void SearchField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && !text().isEmpty()) {
        clear();
        return;
    }
    TextField::keyPressEvent(event);
}

} // namespace gateway::shell
