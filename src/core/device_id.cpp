#include "core/device_id.h"

#include "core/settings.h"

#include <QtCore/QUuid>

#include <cmath>

namespace gateway::core {

namespace {

const QString kRetrieveModeKey = QStringLiteral("QuorinRetrieveMode");

/// True for a number without a fraction other than 0.
bool isNonZeroInteger(const QVariant &stored)
{
    switch (stored.typeId()) {
    case QMetaType::LongLong:
    case QMetaType::Bool:
        return stored.toLongLong() != 0;
    case QMetaType::Double: {
        const double number = stored.toDouble();
        return std::isfinite(number) && number == std::trunc(number) && number != 0;
    }
    default: // QMetaType::Type is open: nothing else that is stored is a number
        return false;
    }
}

} // namespace

QString deviceId(platform::UserDefaults &defaults)
{
    const QVariant stored = defaults.object(Settings::deviceIdKey).value_or(QVariant());
    if (stored.typeId() == QMetaType::QString && !stored.toString().isEmpty()) {
        return stored.toString();
    }
    if (stored.isValid() && stored.typeId() != QMetaType::QString) {
        defaults.removeObject(Settings::deviceIdKey); // no text, so no identifier
    }
    const QString made = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return defaults.setObjectIfMissing(Settings::deviceIdKey, made).toString();
}

bool retrieveMode(const platform::UserDefaults &defaults)
{
    return isNonZeroInteger(defaults.object(kRetrieveModeKey).value_or(QVariant()));
}

bool setRetrieveMode(platform::UserDefaults &defaults, bool on)
{
    return defaults.setObject(kRetrieveModeKey, on ? 1 : 0);
}

} // namespace gateway::core
