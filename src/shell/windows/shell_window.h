#pragma once

#include <QtWidgets/QWidget>

namespace gateway::shell {

/// The frame around one screen. Escape and the desktop's key for closing close it, where nothing inside takes
/// them.
///
/// Owner: its WindowController. Thread: main.
class ShellWindow : public QWidget
{
    Q_OBJECT

public:
    /// \param content  becomes a child and fills the window.
    ShellWindow(const QString &title, QWidget *content);

Q_SIGNALS:
    /// It goes out of sight; its geometry is still that of the last moment.
    void leaving();

    /// It was closed.
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void hideEvent(QHideEvent *event) override;
};

} // namespace gateway::shell
