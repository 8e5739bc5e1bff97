#include "shell/browser/date_button.h"

#include "shell/controls/calendar.h"

#include <QtCore/QLocale>
#include <QtWidgets/QMenu>
#include <QtWidgets/QWidgetAction>

namespace gateway::shell {

DateButton::DateButton(const Theme &theme, const QString &name, QWidget *parent)
    : Button(theme, ButtonKind::secondary, QStringLiteral("0000-00-00"), QStringLiteral("calendar"), parent),
      m_theme(theme)
{
    setAccessibleDescription(name);
    connect(this, &QAbstractButton::clicked, this, &DateButton::openCalendar);
}

void DateButton::setDate(const QDate &date)
{
    m_date = date;
    setText(QLocale::c().toString(date, QStringLiteral("yyyy-MM-dd")));
}

void DateButton::openCalendar()
{
    auto *popup = new QMenu(this);
    popup->setAttribute(Qt::WA_DeleteOnClose);
    auto *calendar = new Calendar(m_theme);
    calendar->setSelectedDate(m_date);
    auto *action = new QWidgetAction(popup);
    action->setDefaultWidget(calendar);
    popup->addAction(action);
    const auto choose = [this, popup](const QDate &date) {
        popup->close();
        setDate(date);
        Q_EMIT dateChosen(date);
    };
    connect(calendar, &QCalendarWidget::clicked, this, choose);
    connect(calendar, &QCalendarWidget::activated, this, choose);
    popup->popup(mapToGlobal(rect().bottomLeft()));
    calendar->setFocus();
}

} // namespace gateway::shell
