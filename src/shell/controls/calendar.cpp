#include "shell/controls/calendar.h"

#include "shell/theme/theme.h"

#include <QtGui/QTextCharFormat>

namespace gateway::shell {

Calendar::Calendar(const Theme &theme, QWidget *parent) : QCalendarWidget(parent), m_theme(theme)
{
    setVerticalHeaderFormat(NoVerticalHeader);
    setHorizontalHeaderFormat(ShortDayNames);
    dress();
    connect(&theme, &Theme::themeChanged, this, &Calendar::dress);
}

void Calendar::dress()
{
    QTextCharFormat header;
    header.setForeground(m_theme.color(Color::muted));
    header.setBackground(m_theme.color(Color::card));
    setHeaderTextFormat(header);
    QTextCharFormat day;
    day.setForeground(m_theme.color(Color::text));
    for (int weekday = Qt::Monday; weekday <= Qt::Sunday; ++weekday) {
        setWeekdayTextFormat(static_cast<Qt::DayOfWeek>(weekday), day);
    }
}

} // namespace gateway::shell
