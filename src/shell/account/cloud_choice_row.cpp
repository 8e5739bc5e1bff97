#include "shell/account/cloud_choice_row.h"

#include "account/cloud_choice.h"
#include "shell/account/cloud_choice_sheet.h"
#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

CloudChoiceRow::CloudChoiceRow(const Theme &theme, account::CloudChoice &choice, const QString &cost)
    : m_theme(theme), m_choice(choice), m_cost(cost)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(theme.space(Space::gap));
    auto *words = new QVBoxLayout;
    words->setSpacing(theme.space(Space::hair));
    const account::CloudChoice::Entries present = choice.present();
    words->addWidget(new TextLabel(
        theme, tr("Images go to: %1").arg(cloudKindWords(present.kind)), TypeStyle::small, Color::text2));
    auto *address = new TextLabel(theme, present.address, TypeStyle::bodyStrong);
    address->setWordWrap(true);
    address->setTextInteractionFlags(Qt::TextSelectableByMouse);
    words->addWidget(address);
    row->addLayout(words, 1);
    if (choice.isGivenAtStart()) {
        auto *fixed = new TextLabel(
            theme, tr("The command line or the environment names it."), TypeStyle::small, Color::text2);
        fixed->setWordWrap(true);
        words->addWidget(fixed);
        return;
    }
    auto *change = new Button(theme, ButtonKind::secondary, tr("Change…"));
    change->setAccessibleName(tr("Change where images go"));
    row->addWidget(change, 0, Qt::AlignVCenter);
    connect(change, &QAbstractButton::clicked, this, &CloudChoiceRow::openSheet);
}

void CloudChoiceRow::openSheet()
{
    if (m_sheet == nullptr) {
        m_sheet = new CloudChoiceSheet(m_theme, m_choice, m_cost, window());
    }
    m_sheet->open();
}

} // namespace gateway::shell
