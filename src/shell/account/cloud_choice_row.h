#pragma once

#include <QtWidgets/QWidget>

namespace gateway::account {
class CloudChoice;
}

namespace gateway::shell {

class CloudChoiceSheet;
class Theme;

/// Which cloud images go to, with the way to another one.
///
/// Owner: its parent. Thread: main.
class CloudChoiceRow : public QWidget
{
    Q_OBJECT

public:
    /// \param theme, choice  outlive this.
    /// \param cost           what a new start costs at this place, besides; empty for nothing.
    CloudChoiceRow(const Theme &theme, account::CloudChoice &choice, const QString &cost = {});

private:
    void openSheet();

    const Theme &m_theme;
    account::CloudChoice &m_choice;
    const QString m_cost;
    CloudChoiceSheet *m_sheet = nullptr; // the window's; made when it is first asked for
};

} // namespace gateway::shell
