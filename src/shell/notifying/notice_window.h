#pragma once

#include "shell/theme/tokens.h"

#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

#include <deque>
#include <functional>

class QLayout;

namespace gateway::shell {

class Theme;

/// What a notice says.
struct Notice
{
    QString symbol;
    Color color = Color::blue;
    QString title;
    QString message;      ///< plain text, foreign text too
    QString accept = {};  ///< the button that agrees; empty for "OK"
    QString dismiss = {}; ///< the other button; empty for none

    /// Called once when somebody has answered: true for the button that agrees; where there is no other one,
    /// for any way of closing it.
    std::function<void(bool accepted)> answered = {};
};

/// A short message with one button, or a question with two; Escape and closing dismiss it.
///
/// Owner: itself; it deletes itself when it closes. Thread: main.
class NoticeWindow : public QDialog
{
    Q_OBJECT

public:
    NoticeWindow(const Theme &theme, const Notice &notice);

private:
    QLayout *makeButtons(const Theme &theme, const Notice &notice);
};

/// Shows notices one after the other: each waits until the one before has been dismissed. Nothing else of the
/// program takes input meanwhile, but its work goes on.
///
/// Owner: app. Thread: main.
class Notices
{
public:
    explicit Notices(const Theme &theme) : m_theme(theme) {}
    ~Notices();

    Notices(const Notices &) = delete;
    Notices &operator=(const Notices &) = delete;

    void show(const Notice &notice);

private:
    void next();

    const Theme &m_theme;
    std::deque<Notice> m_waiting;
    QPointer<NoticeWindow> m_shown;
};

} // namespace gateway::shell
