#include "cloud/dicom/dicom_json.h"

#include "cloud/dicom/attributes.h"
#include "cloud/dicom/character_set.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <vector>

namespace gateway::cloud {

namespace {

constexpr std::size_t kMaxInlineBinary = 1024;

bool isOneOf(std::string_view vr, std::initializer_list<std::string_view> several)
{
    return std::find(several.begin(), several.end(), vr) != several.end();
}

QString vrText(std::string_view vr)
{
    return QString::fromLatin1(vr.data(), static_cast<qsizetype>(vr.size()));
}

QJsonValue personName(const QString &text)
{
    static constexpr const char16_t *kGroups[] = {u"Alphabetic", u"Ideographic", u"Phonetic"};
    QJsonObject name;
    const QStringList groups = text.split(u'=');
    for (qsizetype i = 0; i < groups.size() && i < 3; ++i) {
        if (!groups[i].isEmpty()) {
            name.insert(QString::fromUtf16(kGroups[i]), groups[i]);
        }
    }
    return name.isEmpty() ? QJsonValue() : QJsonValue(name);
}

QJsonValue singleValue(std::string_view vr, const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return {};
    }
    if (vr == "PN") {
        return personName(trimmed);
    }
    if (isOneOf(vr, {"IS", "DS", "US"})) {
        bool readable = false;
        const double number = trimmed.toDouble(&readable);
        if (readable && std::isfinite(number)) {
            return number;
        }
    }
    return trimmed;
}

template <typename Number>
Number numberAt(Bytes value, std::size_t at, std::endian order)
{
    std::array<std::byte, sizeof(Number)> bytes{};
    std::copy_n(value.begin() + static_cast<std::ptrdiff_t>(at), bytes.size(), bytes.begin());
    if (order != std::endian::native) {
        std::ranges::reverse(bytes);
    }
    return std::bit_cast<Number>(bytes);
}

template <typename Number>
void appendNumbers(const DicomElement &element, QJsonArray &values)
{
    for (std::size_t at = 0; at + sizeof(Number) <= element.value.size(); at += sizeof(Number)) {
        const auto number = numberAt<Number>(element.value, at, element.order);
        if constexpr (std::is_floating_point_v<Number>) {
            values.append(std::isfinite(number) ? QJsonValue(static_cast<double>(number)) : QJsonValue());
        } else {
            values.append(static_cast<qint64>(number));
        }
    }
}

/// The values of a binary number VR; false when the element has another.
bool numbersOf(const DicomElement &element, QJsonArray &values)
{
    const std::string_view vr = element.vr;
    if (vr == "US") {
        appendNumbers<std::uint16_t>(element, values);
    } else if (vr == "SS") {
        appendNumbers<std::int16_t>(element, values);
    } else if (vr == "UL") {
        appendNumbers<std::uint32_t>(element, values);
    } else if (vr == "SL") {
        appendNumbers<std::int32_t>(element, values);
    } else if (isOneOf(vr, {"SV", "UV"})) {
        appendNumbers<std::int64_t>(element, values);
    } else if (vr == "FL") {
        appendNumbers<float>(element, values);
    } else if (vr == "FD") {
        appendNumbers<double>(element, values);
    } else if (vr == "AT") {
        QJsonArray halves;
        appendNumbers<std::uint16_t>(element, halves);
        for (qsizetype i = 0; i + 1 < halves.size(); i += 2) {
            values.append(jsonName((static_cast<std::uint32_t>(halves[i].toInt()) << 16U) |
                                   static_cast<std::uint32_t>(halves[i + 1].toInt())));
        }
    } else {
        return false;
    }
    return true;
}

bool isBinary(std::string_view vr)
{
    return isOneOf(vr, {"OB", "OD", "OF", "OL", "OV", "OW", "UN"});
}

/// Builds the JSON model while a data set is read.
class JsonBuilder final : public DicomVisitor
{
public:
    JsonBuilder() { m_items.emplace_back(); }

    void element(const DicomElement &element) override
    {
        if ((element.tag & 0xFFFFU) == 0) {
            return; // group lengths have no place in the model
        }
        if (element.tag == kSpecificCharacterSet) {
            m_characterSet = textOf(element.value);
        }
        m_items.back().insert(jsonName(element.tag), valueOf(element));
    }

    void sequenceBegan(std::uint32_t tag) override { m_sequences.push_back({tag, {}}); }

    void itemBegan() override { m_items.emplace_back(); }

    void itemEnded() override
    {
        m_sequences.back().items.append(m_items.back());
        m_items.pop_back();
    }

    void sequenceEnded() override
    {
        const Sequence sequence = std::move(m_sequences.back());
        m_sequences.pop_back();
        QJsonObject value{{QStringLiteral("vr"), QStringLiteral("SQ")}};
        if (!sequence.items.isEmpty()) {
            value.insert(QStringLiteral("Value"), sequence.items);
        }
        m_items.back().insert(jsonName(sequence.tag), value);
    }

    QJsonObject result() const { return m_items.front(); }

private:
    struct Sequence
    {
        std::uint32_t tag = 0;
        QJsonArray items;
    };

    QJsonObject valueOf(const DicomElement &element) const
    {
        if (!isBinary(element.vr)) {
            QJsonArray numbers;
            if (!numbersOf(element, numbers)) {
                return jsonFromText(element.vr, decodeText(textOf(element.value), m_characterSet));
            }
            QJsonObject value{{QStringLiteral("vr"), vrText(element.vr)}};
            if (!numbers.isEmpty()) {
                value.insert(QStringLiteral("Value"), numbers);
            }
            return value;
        }
        QJsonObject value{{QStringLiteral("vr"), vrText(element.vr)}};
        if (!element.value.empty() && element.value.size() <= kMaxInlineBinary) {
            const auto raw = QByteArray::fromRawData(reinterpret_cast<const char *>(element.value.data()),
                                                     static_cast<qsizetype>(element.value.size()));
            value.insert(QStringLiteral("InlineBinary"), QString::fromLatin1(raw.toBase64()));
        }
        return value;
    }

    std::string m_characterSet;
    std::vector<QJsonObject> m_items;
    std::vector<Sequence> m_sequences;
};

} // namespace

QString jsonName(std::uint32_t tag)
{
    return QStringLiteral("%1").arg(tag, 8, 16, QLatin1Char('0')).toUpper();
}

QJsonObject jsonFromText(std::string_view vr, const QString &text)
{
    QJsonObject result{{QStringLiteral("vr"), vrText(vr)}};
    if (text.isEmpty()) {
        return result;
    }
    QJsonArray values;
    // In these a backslash is text (PS3.5, section 6.2).
    if (isOneOf(vr, {"LT", "ST", "UT", "UR"})) {
        values.append(text);
    } else {
        const QStringList pieces = text.split(u'\\');
        for (const QString &piece : pieces) {
            values.append(singleValue(vr, piece));
        }
    }
    result.insert(QStringLiteral("Value"), values);
    return result;
}

QJsonObject jsonFromDataset(Bytes dataset, Encoding encoding)
{
    JsonBuilder builder;
    try {
        readDataset(dataset, encoding, kFloatPixelData, builder);
    } catch (const DicomFormatError &) {
        return builder.result();
    }
    return builder.result();
}

} // namespace gateway::cloud
