#pragma once

#include "shell/controls/button.h"

#include <QtCore/QDate>

namespace gateway::shell {

/// A day, chosen from a month that drops down.
///
/// Owner: its parent. Thread: main.
class DateButton : public Button
{
    Q_OBJECT

public:
    /// \param name  what the day is, for assistive tools.
    DateButton(const Theme &theme, const QString &name, QWidget *parent = nullptr);

    /// Shows the day; tells nobody.
    void setDate(const QDate &date);

    const QDate &date() const { return m_date; }

Q_SIGNALS:
    /// A person chose another day.
    void dateChosen(const QDate &date);

private:
    void openCalendar();

    const Theme &m_theme;
    QDate m_date;
};

} // namespace gateway::shell
