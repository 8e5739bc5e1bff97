#include "shell/controls/confirm_dialog.h"

#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

#include <utility>

namespace gateway::shell {

namespace {

ButtonKind buttonFor(ConfirmDialog::Kind kind)
{
    switch (kind) {
    case ConfirmDialog::Kind::step:
        return ButtonKind::primary;
    case ConfirmDialog::Kind::towardsLoss:
        return ButtonKind::destructive;
    case ConfirmDialog::Kind::loss:
        break;
    }
    return ButtonKind::destructiveFinal;
}

} // namespace

ConfirmDialog::ConfirmDialog(const Theme &theme, QWidget &window, const Question &question)
    : Sheet(theme, window, question.title), m_kind(question.kind),
      m_cancel(new Button(theme, ButtonKind::secondary, question.cancel)),
      m_confirm(new Button(theme, buttonFor(question.kind), question.confirm))
{
    const std::pair<QString, Color> lines[] = {
        {question.message, Color::text2}, {question.warning, Color::amber}, {question.note, Color::muted}};
    for (const auto &[words, color] : lines) {
        if (!words.isEmpty()) {
            auto *line = new TextLabel(theme, words, TypeStyle::body, color);
            line->setWordWrap(true);
            body().addWidget(line);
        }
    }
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
    open(m_kind == Kind::step ? m_confirm : m_cancel);
}

void ConfirmDialog::setArmed(bool isArmed)
{
    m_confirm->setEnabled(isArmed);
}

} // namespace gateway::shell
