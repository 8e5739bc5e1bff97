#include "browser/text_order.h"

#include <QtCore/QLocale>

namespace gateway::browser {

namespace {

/// The collation that the environment names, else its language.
QLocale orderingLocale()
{
    for (const QLocale &locale : {QCollator().locale(), QLocale()}) {
        if (locale.language() != QLocale::C) {
            return locale;
        }
    }
    return {QLocale::English, QLocale::UnitedStates};
}

} // namespace

QCollator textOrder()
{
    QCollator order(orderingLocale());
    order.setCaseSensitivity(Qt::CaseInsensitive);
    order.setNumericMode(true);
    return order;
}

} // namespace gateway::browser
