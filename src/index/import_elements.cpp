#include "index/import_elements.h"

#include <QtCore/QDateTime>
#include <QtCore/QVariant>
#include <QtCore/QtEndian>

#include <cmath>

namespace gateway::index::elements {

namespace {

bool isText(const QVariant &value)
{
    return value.typeId() == QMetaType::QString;
}

std::optional<double> numberOf(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Float:
    case QMetaType::Double:
        return value.toDouble();
    default:
        return std::nullopt;
    }
}

std::optional<std::int64_t> wholeNumberIn(const QString &text)
{
    const qsizetype start = text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-')) ? 1 : 0;
    for (qsizetype at = start; at < text.size(); ++at) {
        if (text[at] < QLatin1Char('0') || text[at] > QLatin1Char('9')) {
            return std::nullopt;
        }
    }
    bool fits = false;
    const qlonglong value = text.toLongLong(&fits);
    return fits ? std::optional<std::int64_t>(value) : std::nullopt;
}

} // namespace

std::optional<QString> text(const QVariantMap &elements, const QString &key)
{
    const QVariant value = elements.value(key);
    return isText(value) ? std::optional(value.toString()) : std::nullopt;
}

std::int64_t integer(const QVariantMap &elements, const QString &key, std::int64_t fallback)
{
    const QVariant value = elements.value(key);
    if (isText(value)) {
        return wholeNumberIn(value.toString()).value_or(fallback);
    }
    const auto real = numberOf(value);
    constexpr double kLimit = 9.2e18; // just inside 64 bits, whatever the rounding
    return real && std::abs(*real) < kLimit ? static_cast<std::int64_t>(*real) : fallback;
}

std::optional<double> number(const QVariantMap &elements, const QString &key)
{
    return numberOf(elements.value(key));
}

std::optional<bool> boolean(const QVariantMap &elements, const QString &key)
{
    const auto value = numberOf(elements.value(key));
    return value ? std::optional(*value != 0) : std::nullopt;
}

std::optional<std::int64_t> date(const QVariantMap &elements, const QString &key)
{
    const QVariant value = elements.value(key);
    const QDateTime moment =
        value.typeId() == QMetaType::QDate ? value.toDate().startOfDay() : value.toDateTime();
    const bool isDate = value.typeId() == QMetaType::QDate || value.typeId() == QMetaType::QDateTime;
    return isDate && moment.isValid() ? std::optional<std::int64_t>(moment.toMSecsSinceEpoch())
                                      : std::nullopt;
}

std::optional<QByteArray> floats(const QVariantMap &elements, const QString &key)
{
    const QVariant value = elements.value(key);
    if (!value.canConvert<QVariantList>() || isText(value)) {
        return std::nullopt;
    }
    QByteArray bytes;
    for (const QVariant &item : value.toList()) {
        const auto real = numberOf(item);
        if (!real) {
            return std::nullopt;
        }
        const auto single = qToLittleEndian(static_cast<float>(*real));
        bytes.append(reinterpret_cast<const char *>(&single), sizeof single);
    }
    return bytes;
}

} // namespace gateway::index::elements
