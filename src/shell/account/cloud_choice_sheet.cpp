#include "shell/account/cloud_choice_sheet.h"

#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QShowEvent>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using cloud_client::CloudKind;

namespace {

constexpr int kWidth = 520;

} // namespace

QString cloudKindWords(CloudKind kind)
{
    return kind == CloudKind::quorin ? QCoreApplication::translate("CloudChoice", "Quorin Cloud")
                                     : QCoreApplication::translate("CloudChoice", "An archive by DICOMweb");
}

CloudChoiceSheet::CloudChoiceSheet(const Theme &theme,
                                   account::CloudChoice &choice,
                                   const QString &cost,
                                   QWidget *window)
    : Sheet(theme, *window, tr("Where Images Go")), m_theme(theme), m_choice(choice),
      m_kind(new ComboBox(theme)), m_address(new TextField(theme)), m_error(new InlineError(theme)),
      m_save(new PrimaryButton(theme, tr("Save and Restart")))
{
    setPanelWidth(kWidth);
    addEntries();
    addWords(cost);
    body().addWidget(m_error);
    addWays();
    setDefaultButton(m_save);
}

void CloudChoiceSheet::addEntries()
{
    for (const CloudKind kind : {CloudKind::quorin, CloudKind::dicomweb}) {
        m_kind->addItem(cloudKindWords(kind), static_cast<int>(kind));
    }
    m_kind->setAccessibleName(tr("What stands there"));
    auto *label = new TextLabel(m_theme, tr("What stands there"), TypeStyle::small, Color::text2);
    label->setBuddy(m_kind);
    auto *column = new QVBoxLayout;
    column->setSpacing(m_theme.space(Space::hair));
    column->addWidget(label);
    column->addWidget(m_kind);
    body().addLayout(column);
    m_addressField = new FormField(m_theme, tr("Address"), m_address);
    m_address->setInputMethodHints(Qt::ImhUrlCharactersOnly | Qt::ImhNoAutoUppercase);
    body().addWidget(m_addressField);
    connect(m_kind, &QComboBox::activated, this, &CloudChoiceSheet::kindChosen);
    connect(m_address, &QLineEdit::textEdited, m_error, &QWidget::hide);
}

void CloudChoiceSheet::addWords(const QString &cost)
{
    auto *column = new QVBoxLayout;
    column->setSpacing(m_theme.space(Space::hair));
    for (const QString &words :
         {tr("Quorin Gateway starts anew for that; modalities are refused for some seconds."),
          tr("Images that wait go to the new address; those that were sent stay where they are."),
          tr("Sign in there afterwards."),
          cost}) {
        auto *label = new TextLabel(m_theme, words, TypeStyle::small, Color::text2);
        label->setWordWrap(true);
        label->setVisible(!words.isEmpty());
        column->addWidget(label);
    }
    body().addLayout(column);
}

void CloudChoiceSheet::addWays()
{
    auto *cancel = new Button(m_theme, ButtonKind::secondary, tr("Cancel"));
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::gap));
    row->addStretch(1);
    row->addWidget(cancel);
    row->addWidget(m_save);
    body().addLayout(row);
    connect(cancel, &QAbstractButton::clicked, this, &CloudChoiceSheet::leave);
    connect(m_save, &QAbstractButton::clicked, this, &CloudChoiceSheet::save);
}

void CloudChoiceSheet::showEvent(QShowEvent *event)
{
    Sheet::showEvent(event);
    if (!event->spontaneous()) {
        begin();
    }
}

void CloudChoiceSheet::begin()
{
    const account::CloudChoice::Entries present = m_choice.present();
    m_kind->setCurrentIndex(m_kind->findData(static_cast<int>(present.kind)));
    m_error->hide();
    kindChosen();
    m_address->setText(present.address);
}

CloudKind CloudChoiceSheet::kind() const
{
    return static_cast<CloudKind>(m_kind->currentData().toInt());
}

/// Quorin's own address is there for Quorin's cloud, and for no archive.
void CloudChoiceSheet::kindChosen()
{
    const QString builtIn = QString::fromLatin1(cloud_client::kBuiltInCloudAddress);
    const bool isQuorin = kind() == CloudKind::quorin;
    m_addressField->setHint(isQuorin ? QString()
                                     : tr("The root of its DICOMweb services, such as "
                                          "https://archive.example/dicom-web."));
    if (isQuorin) {
        m_address->setText(builtIn);
    } else if (m_address->text() == builtIn) {
        m_address->setText({});
    }
}

void CloudChoiceSheet::save()
{
    m_error->hide();
    if (const auto problem = m_choice.choose({kind(), m_address->text()})) {
        m_error->showMessage(*problem, {});
        m_address->setFocus();
        return;
    }
    leave();
}

void CloudChoiceSheet::leave()
{
    closeSheet();
    Q_EMIT dismissed();
}

} // namespace gateway::shell
