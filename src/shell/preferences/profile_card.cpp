#include "shell/preferences/profile_card.h"

#include "account/gateway_account_settings_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/chip.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/preferences/profile_field.h"
#include "shell/theme/theme.h"

#include <QCoro/QCoroTask>

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using account::GatewayAccountForm;
using account::GatewayAccountSettingsViewModel;

namespace {

constexpr int kSkeletonRows = 4;

void empty(QLayout &layout)
{
    while (QLayoutItem *item = layout.takeAt(0)) {
        if (QLayout *inner = item->layout()) {
            empty(*inner);
        }
        delete item->widget();
        delete item;
    }
}

} // namespace

ProfileCard::ProfileCard(const Theme &theme, GatewayAccountSettingsViewModel &profile)
    : Card(theme), m_theme(theme), m_profile(profile),
      m_loading(new TextLabel(theme, tr("Loading account details…"), TypeStyle::body, Color::blueHi)),
      m_skeleton(new Skeleton(theme, kSkeletonRows)), m_content(new QWidget),
      m_title(new ProfileField(theme, tr("Title"))), m_firstName(new ProfileField(theme, tr("First Name"))),
      m_middleName(new ProfileField(theme, tr("Middle Name"))),
      m_lastName(new ProfileField(theme, tr("Last Name"))), m_suffix(new ProfileField(theme, tr("Suffix"))),
      m_email(new ProfileField(theme, tr("Email"))),
      m_phoneNumber(new ProfileField(theme, tr("Phone Number"))),
      m_workplace(new ProfileField(theme, tr("Primary Workplace"))), m_linked(new QVBoxLayout),
      m_error(new InlineError(theme)),
      m_success(new TextLabel(theme, {}, TypeStyle::bodyStrong, Color::green)),
      m_edit(new Button(theme, ButtonKind::secondary, tr("Edit Profile"), QStringLiteral("pencil"))),
      m_reload(new Button(theme, ButtonKind::secondary, tr("Reload"))),
      m_cancel(new Button(theme, ButtonKind::secondary, tr("Cancel"))),
      m_save(new PrimaryButton(theme, tr("Save Changes")))
{
    addHead();
    addSections();
    addButtons();
    listen();
    showProfile();
}

void ProfileCard::addHead()
{
    auto *heading = new TextLabel(m_theme, tr("Profile"), TypeStyle::h3);
    auto *words = new TextLabel(
        m_theme, tr("Review and manage your account information."), TypeStyle::body, Color::text2);
    words->setWordWrap(true);
    m_success->setWordWrap(true);
    body().addWidget(heading);
    body().addWidget(words);
    body().addWidget(m_loading);
    body().addWidget(m_skeleton);
}

QGridLayout *ProfileCard::addSection(QVBoxLayout &column, const QString &title)
{
    auto *heading = new TextLabel(m_theme, title, TypeStyle::bodyStrong);
    heading->setWordWrap(true);
    column.addWidget(heading);
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(m_theme.space(Space::wide));
    grid->setVerticalSpacing(m_theme.space(Space::gap));
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    column.addLayout(grid);
    column.addSpacing(m_theme.space(Space::tight));
    return grid;
}

void ProfileCard::addSections()
{
    auto *column = new QVBoxLayout(m_content);
    column->setContentsMargins(0, m_theme.space(Space::tight), 0, 0);
    column->setSpacing(m_theme.space(Space::gap));
    QGridLayout *person = addSection(*column, tr("Personal Information"));
    person->addWidget(m_title, 0, 0, Qt::AlignTop);
    person->addWidget(m_firstName, 0, 1, Qt::AlignTop);
    person->addWidget(m_middleName, 1, 0, Qt::AlignTop);
    person->addWidget(m_lastName, 1, 1, Qt::AlignTop);
    person->addWidget(m_suffix, 2, 0, Qt::AlignTop);
    QGridLayout *contact = addSection(*column, tr("Contact"));
    contact->addWidget(m_email, 0, 0, Qt::AlignTop);
    contact->addWidget(m_phoneNumber, 0, 1, Qt::AlignTop);
    QGridLayout *work = addSection(*column, tr("Workplace"));
    work->addWidget(m_workplace, 0, 0, 1, 2);
    auto *linked = new QWidget;
    auto *linkedColumn = new QVBoxLayout(linked);
    linkedColumn->setContentsMargins({});
    linkedColumn->setSpacing(m_theme.space(Space::hair) + 2);
    linkedColumn->addWidget(new TextLabel(m_theme, tr("Linked Workplaces"), TypeStyle::small, Color::text2));
    m_linked->setSpacing(m_theme.space(Space::hair));
    linkedColumn->addLayout(m_linked);
    work->addWidget(linked, 1, 0, 1, 2);
    body().addWidget(m_content);
}

void ProfileCard::addButtons()
{
    body().addWidget(m_error);
    body().addWidget(m_success);
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::tight));
    row->addStretch(1);
    for (Button *button : {m_reload, m_edit, m_cancel, m_save}) {
        row->addWidget(button);
    }
    body().addLayout(row);
}

void ProfileCard::listen()
{
    connect(&m_profile, &GatewayAccountSettingsViewModel::changed, this, &ProfileCard::showProfile);
    connect(m_edit, &QPushButton::clicked, this, &ProfileCard::beginEditing);
    connect(m_cancel, &QPushButton::clicked, &m_profile, &GatewayAccountSettingsViewModel::cancelEditing);
    const auto load = [this] { QCoro::connect(m_profile.load(true), this, [] {}); };
    const auto save = [this] { QCoro::connect(m_profile.save(), this, [] {}); };
    connect(m_reload, &QPushButton::clicked, this, load);
    connect(m_error, &InlineError::actionRequested, this, load);
    connect(m_save, &QPushButton::clicked, this, save);
    for (ProfileField *one :
         {m_title, m_firstName, m_middleName, m_lastName, m_suffix, m_phoneNumber, m_workplace}) {
        connect(&one->field(), &QLineEdit::textEdited, this, &ProfileCard::edited);
        connect(&one->field(), &QLineEdit::returnPressed, this, save);
    }
}

void ProfileCard::beginEditing()
{
    m_profile.beginEditing();
    m_title->field().setFocus();
}

void ProfileCard::edited()
{
    GatewayAccountForm form = m_profile.form();
    form.title = m_title->field().text();
    form.firstName = m_firstName->field().text();
    form.middleName = m_middleName->field().text();
    form.lastName = m_lastName->field().text();
    form.suffix = m_suffix->field().text();
    form.phoneNumber = m_phoneNumber->field().text();
    form.workplace = m_workplace->field().text();
    m_profile.setForm(form);
}

void ProfileCard::showProfile()
{
    const bool hasUser = m_profile.user().has_value();
    const bool isEditing = m_profile.isEditing() && hasUser;
    m_loading->setVisible(m_profile.isLoading() && !hasUser);
    m_skeleton->setVisible(m_loading->isVisibleTo(this));
    m_content->setVisible(hasUser);
    showForm(m_profile.form(), isEditing);
    showWorkplaces();
    showMessages();
    m_edit->setVisible(hasUser && !isEditing);
    m_edit->setEnabled(!m_profile.isLoading()); // whose answer would end it
    m_reload->setVisible(hasUser && !isEditing);
    m_reload->setBusy(m_profile.isLoading());
    m_cancel->setVisible(isEditing);
    m_cancel->setEnabled(!m_profile.isSaving());
    m_save->setVisible(isEditing);
    m_save->setBusy(m_profile.isSaving());
}

void ProfileCard::showForm(const GatewayAccountForm &form, bool isEditing)
{
    m_title->setText(form.title);
    m_firstName->setText(form.firstName);
    m_middleName->setText(form.middleName);
    m_lastName->setText(form.lastName);
    m_suffix->setText(form.suffix);
    m_phoneNumber->setText(form.phoneNumber);
    m_workplace->setText(form.workplace);
    m_email->setText(m_profile.email());
    for (ProfileField *one :
         {m_title, m_firstName, m_middleName, m_lastName, m_suffix, m_phoneNumber, m_workplace}) {
        one->setEditing(isEditing);
        one->field().setReadOnly(m_profile.isSaving());
    }
}

void ProfileCard::showWorkplaces()
{
    if (m_linked->count() > 0 && m_shownWorkplaces == m_profile.workplaces()) {
        return;
    }
    m_shownWorkplaces = m_profile.workplaces();
    empty(*m_linked);
    for (const cloud_client::QrnUserWorkplace &workplace : m_profile.workplaces()) {
        auto *row = new QHBoxLayout;
        row->setSpacing(m_theme.space(Space::tight));
        const QString name = workplace.name.trimmed();
        auto *words =
            new TextLabel(m_theme, name.isEmpty() ? tr("Unnamed workplace") : name, TypeStyle::body);
        words->setWordWrap(true);
        row->addWidget(words, 1);
        if (workplace.isPrimary) {
            row->addWidget(new Chip(m_theme, tr("Default"), Color::blue));
        }
        m_linked->addLayout(row);
    }
    if (m_profile.workplaces().isEmpty()) {
        m_linked->addWidget(new TextLabel(m_theme, QStringLiteral("--"), TypeStyle::body));
    }
}

void ProfileCard::showMessages()
{
    const bool isRetry = !m_profile.user().has_value();
    QString error = m_profile.errorMessage().value_or(QString());
    if (error.isEmpty() && m_profile.errorMessage()) {
        error = isRetry ? tr("Unable to load account details.") : tr("The profile could not be saved.");
    }
    if (error.isEmpty() || (isRetry && m_profile.isLoading())) {
        m_error->hide();
        m_shownError.clear();
    } else if (error != m_shownError) {
        m_error->showMessage(error,
                             isRetry ? tr("Images are still received and kept.")
                                     : tr("Nothing has been changed at Quorin Cloud."),
                             isRetry ? tr("Retry") : QString());
        m_shownError = error;
    }
    m_success->setText(m_profile.successMessage().value_or(QString()));
    m_success->setVisible(!m_success->text().isEmpty());
}

} // namespace gateway::shell
