#include "cloud_client/stow_answer.h"

#include <QtCore/QStringList>
#include <QtCore/QUrl>
#include <QtCore/QXmlStreamReader>

#include <simdjson.h>

namespace gateway::cloud_client {

namespace {

// A sequence in a sequence is more than such a dataset holds; the rest is the notation's own nesting.
constexpr std::size_t kDeepestJson = 32;
constexpr int kDeepestXml = 32;

constexpr std::string_view kReferenced = "00081199";
constexpr std::string_view kFailed = "00081198";
constexpr std::string_view kInstance = "00081155";
constexpr std::string_view kReason = "00081197";
constexpr std::string_view kWarning = "00081196";
constexpr std::string_view kRetrieveUrl = "00081190";

/// One item of either sequence, before it is known which.
struct Item
{
    platform::InstanceUid instance;
    std::optional<int> reason;
    std::optional<int> warning;
    QString retrieveUrl;
};

QString withoutPadding(QString text)
{
    while (text.endsWith(u'\0')) {
        text.chop(1);
    }
    return text.trimmed();
}

void add(StowAnswer &answer, bool isRefusal, const Item &item)
{
    if (isRefusal) {
        answer.refused.append({item.instance, item.reason});
    } else if (!item.instance.isEmpty()) {
        answer.referenced.append({item.instance, item.retrieveUrl, item.warning});
    }
}

QString toText(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The first value of an attribute in the JSON model (PS3.18 F.2); an error where there is none.
simdjson::simdjson_result<simdjson::dom::element> firstValue(const simdjson::dom::element &attribute)
{
    return attribute["Value"].at(0);
}

std::optional<int> number(const QString &text)
{
    bool isNumber = false;
    const int parsed = text.trimmed().toInt(&isNumber);
    return isNumber ? std::optional(parsed) : std::nullopt;
}

std::optional<int> number(const simdjson::dom::element &element)
{
    std::int64_t value = 0;
    if (element.get(value) == simdjson::SUCCESS) {
        return value >= 0 && value <= 0xffff ? std::optional(static_cast<int>(value)) : std::nullopt;
    }
    std::string_view text;
    if (element.get(text) == simdjson::SUCCESS) {
        return number(toText(text));
    }
    return std::nullopt;
}

Item itemOf(const simdjson::dom::object &object)
{
    Item item;
    for (const auto &field : object) {
        simdjson::dom::element value;
        if (firstValue(field.value).get(value) != simdjson::SUCCESS) {
            continue;
        }
        std::string_view text;
        if (field.key == kInstance && value.get(text) == simdjson::SUCCESS) {
            item.instance = platform::InstanceUid(withoutPadding(toText(text)));
        } else if (field.key == kReason) {
            item.reason = number(value);
        } else if (field.key == kWarning) {
            item.warning = number(value);
        } else if (field.key == kRetrieveUrl && value.get(text) == simdjson::SUCCESS) {
            item.retrieveUrl = withoutPadding(toText(text));
        }
    }
    return item;
}

/// Adds a sequence's items; false when it isn't a sequence.
bool addSequence(const simdjson::dom::element &attribute, bool isRefusal, StowAnswer &answer)
{
    simdjson::dom::object members;
    if (attribute.get(members) != simdjson::SUCCESS) {
        return false;
    }
    simdjson::dom::element value;
    if (members["Value"].get(value) != simdjson::SUCCESS || value.is_null()) {
        return true; // an empty sequence has no "Value"
    }
    simdjson::dom::array items;
    if (value.get(items) != simdjson::SUCCESS) {
        return false;
    }
    for (const simdjson::dom::element &entry : items) {
        simdjson::dom::object item;
        if (entry.get(item) == simdjson::SUCCESS) {
            add(answer, isRefusal, itemOf(item));
        } else if (!entry.is_null()) {
            return false;
        }
    }
    return true;
}

std::optional<StowAnswer> parseJson(const QByteArray &body)
{
    simdjson::dom::parser parser;
    const auto bytes = static_cast<std::size_t>(body.size());
    simdjson::dom::element root;
    if (parser.allocate(bytes, kDeepestJson) != simdjson::SUCCESS ||
        parser.parse(body.constData(), bytes).get(root) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    if (root.is_array() && root.at(0).get(root) != simdjson::SUCCESS) {
        return std::nullopt; // some servers wrap the dataset into a list of one
    }
    simdjson::dom::object dataset;
    if (root.get(dataset) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    StowAnswer answer;
    bool hasSequence = false;
    for (const auto &field : dataset) {
        if (field.key == kReferenced || field.key == kFailed) {
            if (!addSequence(field.value, field.key == kFailed, answer)) {
                return std::nullopt;
            }
            hasSequence = true;
        }
    }
    return hasSequence ? std::optional(answer) : std::nullopt;
}

/// Reads the XML model (PS3.19 A.1): NativeDicomModel / DicomAttribute / Item / DicomAttribute / Value.
class XmlReader
{
public:
    explicit XmlReader(const QByteArray &body) : m_xml(body) {}

    std::optional<StowAnswer> read()
    {
        while (!m_xml.atEnd()) {
            m_xml.readNext();
            if (m_xml.isDTD() || m_depth > kDeepestXml) {
                return std::nullopt;
            }
            if (m_xml.isStartElement()) {
                start();
            } else if (m_xml.isEndElement()) {
                end();
            } else if (m_xml.isCharacters() && m_value && m_depth == kValueDepth) {
                m_value->append(m_xml.text());
            }
        }
        return m_xml.hasError() || !m_isModel || !m_hasSequence ? std::nullopt : std::optional(m_answer);
    }

private:
    // The depth of each element once it is open.
    static constexpr int kSequenceDepth = 2;
    static constexpr int kItemDepth = 3;
    static constexpr int kAttributeDepth = 4;
    static constexpr int kValueDepth = 5;

    bool isOpening(const char *name, int depth) const
    {
        return m_depth == depth && m_xml.name() == QLatin1String(name);
    }

    QString tag() const { return m_xml.attributes().value(QLatin1String("tag")).toString(); }

    void start()
    {
        ++m_depth;
        if (isOpening("NativeDicomModel", 1)) {
            m_isModel = true;
        } else if (isOpening("DicomAttribute", kSequenceDepth)) {
            m_sequence = tag();
            m_inSequence = m_sequence == QLatin1String("00081199") || m_sequence == QLatin1String("00081198");
            m_hasSequence = m_hasSequence || m_inSequence;
        } else if (isOpening("Item", kItemDepth) && m_inSequence) {
            m_item = Item();
        } else if (isOpening("DicomAttribute", kAttributeDepth) && m_item) {
            m_attribute = tag();
        } else if (isOpening("Value", kValueDepth) && m_item) {
            // Two values never read as one: the backslash keeps them from being any instance's UID.
            m_value = m_value ? *m_value + u'\\' : QString();
        }
    }

    void end()
    {
        if (m_depth == kAttributeDepth && m_item) {
            takeAttribute();
        } else if (m_depth == kItemDepth && m_item) {
            add(m_answer, m_sequence == QLatin1String("00081198"), *m_item);
            m_item.reset();
        } else if (m_depth == kSequenceDepth) {
            m_inSequence = false;
        }
        --m_depth;
    }

    void takeAttribute()
    {
        const QString value = m_value.value_or(QString());
        m_value.reset();
        if (m_attribute == QLatin1String("00081155")) {
            m_item->instance = platform::InstanceUid(withoutPadding(value));
        } else if (m_attribute == QLatin1String("00081190")) {
            m_item->retrieveUrl = withoutPadding(value);
        } else if (m_attribute == QLatin1String("00081197")) {
            m_item->reason = number(value);
        } else if (m_attribute == QLatin1String("00081196")) {
            m_item->warning = number(value);
        }
        m_attribute.clear();
    }

    QXmlStreamReader m_xml;
    StowAnswer m_answer;
    int m_depth = 0;
    bool m_isModel = false;
    bool m_hasSequence = false;
    bool m_inSequence = false;
    QString m_sequence;
    QString m_attribute;
    std::optional<Item> m_item;
    std::optional<QString> m_value; // text of the open attribute
};

} // namespace

bool StowReference::names(const platform::InstanceIdentity &identity) const
{
    if (sopInstanceUid != identity.instance) {
        return false;
    }
    // The path ends .../studies/{study}/series/{series}/instances/{instance}, where the server follows the
    // standard (PS3.18 10.4.1); the last word of each name counts, since a base address may hold them too.
    QStringList segments = QUrl(retrieveUrl).path(QUrl::FullyEncoded).split(u'/');
    for (QString &segment : segments) {
        segment = QUrl::fromPercentEncoding(segment.toLatin1()); // an identifier may hold a slash
    }
    const auto isIn = [&segments](const QString &parent, const QString &expected) {
        const qsizetype at = segments.lastIndexOf(parent);
        return expected.isEmpty() || at < 0 || at + 1 >= segments.size() || segments[at + 1] == expected;
    };
    return isIn(QStringLiteral("studies"), identity.study.value()) &&
           isIn(QStringLiteral("series"), identity.series.value());
}

std::optional<StowAnswer> parseStowAnswer(const QByteArray &mediaType, const QByteArray &body)
{
    if (mediaType == "application/dicom+xml" || mediaType == "application/xml" || mediaType == "text/xml") {
        return XmlReader(body).read();
    }
    if (mediaType == "application/dicom+json" || mediaType == "application/json" || mediaType.isEmpty()) {
        return parseJson(body);
    }
    return std::nullopt;
}

} // namespace gateway::cloud_client
