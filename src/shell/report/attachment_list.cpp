#include "shell/report/attachment_list.h"

#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

AttachmentList::AttachmentList(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins({});
    m_column->setSpacing(theme.space(Space::tight));
    m_column->addWidget(new TextLabel(theme, tr("No files attached."), TypeStyle::body, Color::muted));
}

void AttachmentList::setFiles(const QList<QUrl> &files)
{
    if (files == m_shown) {
        return; // who is about to press a button keeps it
    }
    m_shown = files;
    while (QLayoutItem *item = m_column->takeAt(0)) {
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    for (const QUrl &file : files) {
        m_column->addWidget(makeRow(file));
    }
    if (files.isEmpty()) {
        m_column->addWidget(new TextLabel(m_theme, tr("No files attached."), TypeStyle::body, Color::muted));
    }
}

QWidget *AttachmentList::makeRow(const QUrl &file)
{
    auto *row = new QWidget(this);
    auto *line = new QHBoxLayout(row);
    line->setContentsMargins({});
    line->setSpacing(m_theme.space(Space::gap));
    auto *name = new ElidedLabel(m_theme, TypeStyle::body, Color::text);
    name->setWords(file.fileName());
    auto *remove = new Button(m_theme, ButtonKind::secondary, tr("Remove"));
    remove->setCompact();
    remove->setAccessibleDescription(file.fileName());
    connect(remove, &QPushButton::clicked, this, [this, file] { Q_EMIT removeRequested(file); });
    line->addWidget(name, 1);
    line->addWidget(remove);
    return row;
}

} // namespace gateway::shell
