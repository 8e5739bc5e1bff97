#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// What stands where a list would be and has nothing to show: icon, title, one sentence, one button.
///
/// Owner: its parent. Thread: main.
class EmptyState : public QWidget
{
    Q_OBJECT

public:
    struct Words
    {
        QString symbol;
        QString title;
        QString sentence;
        QString action; // empty: there is nothing to do
    };

    EmptyState(const Theme &theme, const Words &words, QWidget *parent = nullptr);

Q_SIGNALS:
    /// The button was pressed.
    void actionRequested();
};

} // namespace gateway::shell
