#pragma once

#include <QtCore/QSize>
#include <QtCore/QString>

#include <functional>
#include <memory>

class QWidget;

namespace gateway::platform {
class UserDefaults;
}

namespace gateway::shell {

class ShellWindow;

/// One window of the program: made when it is first shown, kept from then on unless told, and raised when it
/// is shown again.
///
/// It comes up where it was left last time, else centred; never larger than the screen.
///
/// Owner: whoever shows it. Thread: main.
class WindowController
{
public:
    struct Frame
    {
        QString name;  ///< its key in the defaults, such as "dashboard"
        QString title; ///< no patient's name, ever
        QSize contentSize;
        QSize leastSize;
        bool isKept = true; ///< else it goes when it is closed, and the next `show` makes another one
    };

    using MakeContent = std::function<QWidget *()>;

    /// \param defaults     where its place is kept; outlives this.
    /// \param makeContent  called when a window is made; the content becomes the window's.
    WindowController(platform::UserDefaults &defaults, Frame frame, MakeContent makeContent);
    ~WindowController();

    WindowController(const WindowController &) = delete;
    WindowController &operator=(const WindowController &) = delete;

    /// Shows the window in front of all others and gives it the keyboard.
    void show();

    /// Null while there is none.
    QWidget *window() const;

private:
    QString geometryKey() const;
    void place();
    void rememberPlace();
    void dropWindow();

    platform::UserDefaults &m_defaults;
    const Frame m_frame;
    const MakeContent m_makeContent;
    std::unique_ptr<ShellWindow> m_window;
};

} // namespace gateway::shell
