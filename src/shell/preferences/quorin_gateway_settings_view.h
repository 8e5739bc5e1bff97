#pragma once

#include "shell/preferences/gateway_settings_item.h"
#include "shell/preferences/preferences_parts.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

#include <optional>

class QStackedWidget;

namespace gateway::shell {

class CategoryList;
class SegmentedControl;
class SettingsPaneContainer;

/// The preferences: categories and the face of the screens on the left, the pane of the category on the
/// right.
///
/// Owner: its window. Thread: main.
class QuorinGatewaySettingsView : public QWidget
{
    Q_OBJECT

public:
    explicit QuorinGatewaySettingsView(const PreferencesParts &parts);

    std::optional<GatewaySettingsItem> selection() const;
    void setSelection(std::optional<GatewaySettingsItem> item);

    /// The title of the window that shows this.
    static QString windowTitle();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *makeRail();
    QWidget *makeAppearance();
    void showSelection();
    void follow();
    void refresh();

    const PreferencesParts m_parts;
    CategoryList *m_categories;
    SegmentedControl *m_appearance;
    QWidget *m_rail;
    QStackedWidget *m_stack;
    QList<SettingsPaneContainer *> m_panes; // in the order of the categories
};

} // namespace gateway::shell
