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
    QTextCharFormat weekend; // Qt's own is a red that belongs to failures here
    weekend.setForeground(m_theme.color(Color::text2));
    setWeekdayTextFormat(Qt::Saturday, weekend);
    setWeekdayTextFormat(Qt::Sunday, weekend);
}

} // namespace gateway::shell
