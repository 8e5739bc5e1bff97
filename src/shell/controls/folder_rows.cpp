#include "shell/controls/folder_rows.h"

#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

void addFolderRows(
    Card &card, const Theme &theme, const QString &name, TextLabel *path, const QList<Button *> &ways)
{
    card.body().addWidget(new TextLabel(theme, name, TypeStyle::small, Color::text2));
    path->setMono();
    path->setWordWrap(true);
    path->setAccessibleDescription(name);
    card.body().addWidget(path);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::tight));
    for (Button *way : ways) {
        row->addWidget(way);
    }
    row->addStretch(1);
    card.body().addLayout(row);
}

} // namespace gateway::shell
