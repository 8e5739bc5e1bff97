#include "cloud_client/qrn_tag_parser.h"

#include <QtCore/QStringList>

#include <cmath>

namespace gateway::cloud_client {

namespace {

// Whole numbers up to here are exact in a double.
constexpr double kExactDouble = 9007199254740992.0;

QVariantList valuesOf(const QVariantMap &object, QrnDicomTag tag)
{
    return object.value(tagKey(tag)).toMap().value(QStringLiteral("Value")).toList();
}

QString nameText(const QVariantMap &name)
{
    for (const auto &form :
         {QStringLiteral("Alphabetic"), QStringLiteral("Ideographic"), QStringLiteral("Phonetic")}) {
        const QString text = name.value(form).toString();
        if (!text.isEmpty()) {
            return text;
        }
    }
    return {};
}

QString valueText(const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantMap) {
        return nameText(value.toMap());
    }
    return value.typeId() == QMetaType::Nullptr ? QString() : value.toString();
}

} // namespace

QString tagKey(QrnDicomTag tag)
{
    return QStringLiteral("%1").arg(static_cast<std::uint32_t>(tag), 8, 16, QLatin1Char('0')).toUpper();
}

QString QrnTagParser::getStringTag(const QVariantMap &object, QrnDicomTag tag)
{
    QStringList texts;
    for (const QVariant &value : valuesOf(object, tag)) {
        const QString text = valueText(value);
        if (!text.isEmpty()) {
            texts.append(text);
        }
    }
    return texts.join(QStringLiteral(", "));
}

QrnPersonName QrnTagParser::getPersonName(const QVariantMap &object, QrnDicomTag tag)
{
    const QVariant value = valuesOf(object, tag).value(0);
    if (value.typeId() == QMetaType::QVariantMap) {
        const QVariantMap name = value.toMap();
        return {name.value(QStringLiteral("Alphabetic")).toString(),
                name.value(QStringLiteral("Ideographic")).toString(),
                name.value(QStringLiteral("Phonetic")).toString()};
    }
    const QStringList groups = valueText(value).split(u'=');
    return {groups.value(0), groups.value(1), groups.value(2)};
}

std::optional<qint64> QrnTagParser::getIntTag(const QVariantMap &object, QrnDicomTag tag)
{
    const QVariantList values = valuesOf(object, tag);
    if (values.isEmpty()) {
        return std::nullopt;
    }
    const QVariant &value = values.first();
    if (value.typeId() == QMetaType::Double) {
        const double number = value.toDouble();
        const bool isWhole = std::abs(number) <= kExactDouble && std::trunc(number) == number;
        return isWhole ? std::optional(static_cast<qint64>(number)) : std::nullopt;
    }
    bool isNumber = false;
    const qint64 number = valueText(value).trimmed().toLongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

} // namespace gateway::cloud_client
