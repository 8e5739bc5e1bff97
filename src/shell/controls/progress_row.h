#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QProgressBar>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class Button;
class FixedDigitLabel;
class TextLabel;
class Theme;

/// Long work under way: what it is, how far it is in numbers, and a way to stop it.
///
/// Owner: its parent. Thread: main.
class ProgressRow : public QWidget
{
    Q_OBJECT

public:
    ProgressRow(const Theme &theme,
                const QString &title,
                const QString &stopTitle,
                QWidget *parent = nullptr);

    /// \param numbers  as the operator reads them, such as "1,204 of 3,000 files".
    /// \param total    0 while it isn't known: the bar then shows no share.
    void setProgress(qint64 done, qint64 total, const QString &numbers);

    /// After a press on the button: it stays busy until the work has ended, and `reset` then.
    void setStopping();
    bool isStopping() const;
    void reset();

    QProgressBar &bar() { return *m_bar; }

Q_SIGNALS:
    void stopRequested();

private:
    TextLabel *m_title;
    FixedDigitLabel *m_numbers;
    QProgressBar *m_bar;
    Button *m_stop;
};

} // namespace gateway::shell
