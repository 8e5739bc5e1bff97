#include "shell/controls/confirm_dialog.h"

#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

ConfirmDialog::ConfirmDialog(const Theme &theme, QWidget &window, const Question &question)
    : Sheet(theme, window, question.title), m_kind(question.kind),
      m_cancel(new Button(theme, ButtonKind::secondary, question.cancel)),
      m_confirm(new Button(theme,
                           question.kind == Kind::loss ? ButtonKind::destructiveFinal : ButtonKind::primary,
                           question.confirm))
{
    auto *message = new TextLabel(theme, question.message, TypeStyle::body, Color::text2);
    message->setWordWrap(true);
    body().addWidget(message);
    body().addSpacing(theme.space(Space::hair));
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::gap));
    row->addStretch();
    row->addWidget(m_cancel);
    row->addWidget(m_confirm);
    body().addLayout(row);

    connect(m_confirm, &QAbstractButton::clicked, this, [this] {
        closeSheet();
        Q_EMIT confirmed();
    });
    connect(m_cancel, &QAbstractButton::clicked, this, [this] {
        closeSheet();
        Q_EMIT cancelled();
    });
    connect(this, &Sheet::dismissed, this, &ConfirmDialog::cancelled);
}

void ConfirmDialog::ask()
{
    open(m_kind == Kind::loss ? m_cancel : m_confirm);
}

} // namespace gateway::shell
