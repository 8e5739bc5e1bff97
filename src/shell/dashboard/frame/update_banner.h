#pragma once

#include "shell/controls/accessible_painted.h"

#include <QtWidgets/QWidget>

#include <functional>
#include <optional>

namespace gateway::shell {

class ElidedLabel;
class Theme;

/// One line about an update, below the head of the window; not there while there is nothing to say.
///
/// Owner: DashboardView. Thread: main.
class UpdateBanner : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    /// \param checkForUpdates  what its button does; without it there is no button.
    UpdateBanner(const Theme &theme, const std::function<void()> &checkForUpdates, QWidget *parent = nullptr);

    void setMessage(const std::optional<QString> &message);
    QString message() const;

    /// How far it stays away from either edge.
    void setSideMargin(int margin);

    QAccessible::Role accessibleRole() const override { return QAccessible::AlertMessage; }
    QString accessibleWords() const override { return message(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    ElidedLabel *m_words;
};

} // namespace gateway::shell
