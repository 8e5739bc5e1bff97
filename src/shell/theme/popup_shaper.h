#pragma once

#include <QtCore/QObject>

class QApplication;

namespace gateway::shell {

class Theme;

/// Rounds the corners of menus, of combo boxes' lists and of tool tips, also where nothing composes the
/// screen.
///
/// Owner: Theme. Thread: main.
class PopupShaper : public QObject
{
    Q_OBJECT

public:
    PopupShaper(const Theme &theme, QApplication &application);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const Theme &m_theme; // owns this
};

} // namespace gateway::shell
