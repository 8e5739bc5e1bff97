#pragma once

#include "shell/dashboard/frame/screen.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Button;
class TextLabel;
class Theme;

/// The line above a screen: what it is, and the actions that are always at hand, below it where they don't
/// fit beside it.
///
/// Owner: DashboardView. Thread: main.
class DashboardHeader : public QWidget
{
    Q_OBJECT

public:
    /// \param offersPreferences  whether there are any to open.
    DashboardHeader(const Theme &theme, bool offersPreferences, QWidget *parent = nullptr);

    void setScreen(Screen screen);

    /// How far words and actions stay away from either edge.
    void setSideMargin(int margin);

Q_SIGNALS:
    void viewLogsRequested();
    void preferencesRequested();
    void manualUploadRequested();

private:
    const Theme &m_theme;
    TextLabel *m_title;
    Button *m_viewLogs;
    Button *m_preferences;
    Button *m_manualUpload;
};

} // namespace gateway::shell
