#pragma once

#include "account/cloud_choice.h"
#include "shell/controls/sheet.h"

#include <QtCore/QString>

namespace gateway::shell {

class Button;
class ComboBox;
class FormField;
class InlineError;
class TextField;

/// What stands behind an address, for people.
QString cloudKindWords(cloud_client::CloudKind kind);

/// Asks for the cloud that images go to. Each opening begins with the present one.
///
/// Owner: the window. Thread: main.
class CloudChoiceSheet : public Sheet
{
    Q_OBJECT

public:
    /// \param theme, choice  outlive this.
    /// \param cost           what a new start costs at this place, besides; empty for nothing.
    /// \param window         the widget that it covers; owns this.
    CloudChoiceSheet(const Theme &theme, account::CloudChoice &choice, const QString &cost, QWidget *window);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void addWords(const QString &cost);
    void addEntries();
    void addWays();
    void begin();
    cloud_client::CloudKind kind() const;
    void kindChosen();
    void save();
    void leave();

    const Theme &m_theme;
    account::CloudChoice &m_choice;
    ComboBox *m_kind;
    TextField *m_address;
    FormField *m_addressField = nullptr;
    InlineError *m_error;
    Button *m_save;
};

} // namespace gateway::shell
