#pragma once

#include "cloud_client/qrn_user.h"
#include "shell/controls/card.h"

#include <QtCore/QList>

class QVBoxLayout;
class QGridLayout;

namespace gateway::account {
class GatewayAccountSettingsViewModel;
struct GatewayAccountForm;
} // namespace gateway::account

namespace gateway::shell {

class Button;
class InlineError;
class ProfileField;
class Skeleton;
class TextLabel;

/// The profile of who is signed in: read, edited, saved.
///
/// Owner: AccountSettingsPane. Thread: main.
class ProfileCard final : public Card
{
    Q_OBJECT

public:
    /// \param profile  outlives this.
    ProfileCard(const Theme &theme, account::GatewayAccountSettingsViewModel &profile);

private:
    void addHead();
    void addSections();
    void addButtons();
    QGridLayout *addSection(QVBoxLayout &column, const QString &title);
    void listen();
    void beginEditing();
    void edited();
    void showProfile();
    void showForm(const account::GatewayAccountForm &form, bool isEditing);
    void showWorkplaces();
    void showMessages();

    const Theme &m_theme;
    account::GatewayAccountSettingsViewModel &m_profile;
    TextLabel *m_loading;
    Skeleton *m_skeleton;
    QWidget *m_content;
    ProfileField *m_title;
    ProfileField *m_firstName;
    ProfileField *m_middleName;
    ProfileField *m_lastName;
    ProfileField *m_suffix;
    ProfileField *m_email;
    ProfileField *m_phoneNumber;
    ProfileField *m_workplace;
    QVBoxLayout *m_linked;
    QList<cloud_client::QrnUserWorkplace> m_shownWorkplaces;
    InlineError *m_error;
    QString m_shownError;
    TextLabel *m_success;
    Button *m_edit;
    Button *m_reload;
    Button *m_cancel;
    Button *m_save;
};

} // namespace gateway::shell
