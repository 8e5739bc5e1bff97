#pragma once

#include <QtWidgets/QCalendarWidget>

namespace gateway::shell {

class Theme;

/// A month to choose a day from.
///
/// Owner: its parent. Thread: main.
class Calendar : public QCalendarWidget
{
    Q_OBJECT

public:
    explicit Calendar(const Theme &theme, QWidget *parent = nullptr);

private:
    void dress();

    const Theme &m_theme;
};

} // namespace gateway::shell
