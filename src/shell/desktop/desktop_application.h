#pragma once

#include "shell/language/translations.h"
#include "shell/theme/desktop_preferences.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QApplication>

#include <functional>
#include <optional>

class QProcessEnvironment;

namespace gateway::shell {

/// Why no window can be shown, one sentence for the terminal; nothing when the environment names a display.
std::optional<QString> displayProblem(const QProcessEnvironment &environment);

/// The application object of the program with windows, in the house's look. Windows may all be closed while
/// it runs on.
///
/// Owner: main; exactly one exists. Thread: main.
class DesktopApplication
{
public:
    /// Opens the display. Where that fails the process ends: Qt knows no way back from there.
    ///
    /// \param argc, argv  as main got them; they outlive this.
    /// \param fail        is told the sentence then, and ends the process.
    DesktopApplication(int &argc, char **argv, const std::function<void(const QString &)> &fail);
    ~DesktopApplication();

    DesktopApplication(const DesktopApplication &) = delete;
    DesktopApplication &operator=(const DesktopApplication &) = delete;

    Theme &theme() { return *m_theme; }
    DesktopPreferences &preferences() { return *m_preferences; }

private:
    std::optional<QApplication> m_application;
    std::optional<Translations> m_translations;
    std::optional<Theme> m_theme;
    std::optional<DesktopPreferences> m_preferences;
};

} // namespace gateway::shell
