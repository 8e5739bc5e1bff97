#pragma once

#include "shell/theme/tokens.h"

#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

#include <deque>
#include <functional>
#include <vector>

class QLayout;
class QVBoxLayout;

namespace gateway::shell {

class TextLabel;
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

    /// It asks nothing: whoever reads it can read others beside it.
    bool onlyTells() const { return dismiss.isEmpty() && accept.isEmpty() && !answered; }
};

/// A short message with one button, or a question with two; Escape and closing dismiss it. It locks no other
/// window, and asks the desktop for no button to minimise it.
///
/// Owner: itself; it deletes itself when it closes. Thread: main.
class NoticeWindow : public QDialog
{
    Q_OBJECT

public:
    NoticeWindow(const Theme &theme, const Notice &notice);

    bool tellsOf(const QString &title) const;

    /// Whether another title can be told; only a few have room.
    bool hasRoom() const;

    /// Tells another one below; one of the same title takes the place of the former.
    void add(const Notice &notice);

    /// In front of the other windows, wherever it was put.
    void bringBack();

private:
    struct Told
    {
        TextLabel *title;
        TextLabel *message;
    };

    QLayout *makeButtons(const Theme &theme, const Notice &notice);
    void tell(const Notice &notice);

    const Theme &m_theme;
    QVBoxLayout *m_tellings;
    std::vector<Told> m_told;
};

/// Shows notices: a few that only tell something share a window, a question has one of its own; who finds no
/// room waits until the one before has been dismissed. A further notice brings the window to the front. The
/// other windows go on taking input.
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
    bool canTell(const Notice &notice) const;
    void keepWaiting(const Notice &notice);
    void next();

    const Theme &m_theme;
    std::deque<Notice> m_waiting;
    bool m_onlyTells = false; // the shown one
    QPointer<NoticeWindow> m_shown;
};

} // namespace gateway::shell
