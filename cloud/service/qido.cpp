#include "cloud/service/qido.h"

#include "cloud/dicom/dicom_json.h"
#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"
#include "cloud/http/text.h"
#include "cloud/service/json_answers.h"

#include <algorithm>
#include <set>

namespace gateway::cloud {

namespace {

std::int64_t number(const std::string &name, const std::string &text)
{
    const auto value = decimal(text);
    if (!value || *value > static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max())) {
        throw HttpProblem(
            400,
            ProblemKind::badRequest,
            QStringLiteral("The parameter \"%1\" is not a number.").arg(QString::fromStdString(name)));
    }
    return static_cast<std::int64_t>(*value);
}

/// Reads the parameters of a search.
class SearchReader
{
public:
    SearchReader(Level level, const InstanceScope &scope)
    {
        m_query.level = level;
        matchUid(kStudyInstanceUid, scope.studyUid);
        matchUid(kSeriesInstanceUid, scope.seriesUid);
        // Without a parent in the path the answer tells the parents' attributes, too.
        m_fromStudy = level == Level::study || !scope.studyUid;
        m_fromSeries = level == Level::series || (level == Level::instance && !scope.seriesUid);
    }

    void read(const std::string &name, const std::string &value)
    {
        if (name == "limit") {
            m_query.limit = number(name, value);
        } else if (name == "offset") {
            m_query.offset = number(name, value);
        } else if (name == "includefield") {
            include(value);
        } else if (name == "fuzzymatching") {
            m_ignored |= value == "true";
        } else {
            match(name, value);
        }
    }

    ArchiveQuery query()
    {
        for (const Attribute &attribute : indexedAttributes()) {
            const bool own = attribute.level == m_query.level;
            const bool parents = (attribute.level == Level::study && m_fromStudy) ||
                                 (attribute.level == Level::series && m_fromSeries);
            const bool key = attribute.tag == kStudyInstanceUid || attribute.tag == kSeriesInstanceUid;
            if (attribute.level <= m_query.level &&
                (own || parents || key || m_included.contains(&attribute))) {
                m_query.columns.push_back(&attribute);
            }
        }
        return m_query;
    }

    bool ignoredSomething() const { return m_ignored; }

private:
    void matchUid(std::uint32_t tag, const std::optional<QString> &uid)
    {
        if (uid) {
            m_query.matches.emplace_back(indexedAttribute(tag), *uid);
        }
    }

    void include(const std::string &names)
    {
        for (const std::string &name : split(names, ',')) {
            if (name == "all") {
                m_fromStudy = m_fromSeries = true;
            } else if (const Attribute *attribute = attributeNamed(name)) {
                m_included.insert(attribute);
            }
        }
    }

    void match(const std::string &name, const std::string &value)
    {
        const Attribute *attribute = attributeNamed(name);
        if (attribute == nullptr || attribute->level > m_query.level) {
            m_ignored = true;
            return;
        }
        m_query.matches.emplace_back(attribute, QString::fromStdString(value));
        m_included.insert(attribute);
    }

    ArchiveQuery m_query;
    bool m_fromStudy = false;
    bool m_fromSeries = false;
    bool m_ignored = false;
    std::set<const Attribute *> m_included;
};

QJsonObject rowJson(const ArchiveQuery &query, const std::vector<QString> &row, const std::string &root)
{
    QJsonObject json;
    QString url = QString::fromStdString(root);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Attribute &attribute = *query.columns[i];
        json.insert(jsonName(attribute.tag), jsonFromText(attribute.vr, row[i]));
        if (attribute.tag == kStudyInstanceUid) {
            url += QStringLiteral("/studies/") + addressSegment(row[i]);
        } else if (attribute.tag == kSeriesInstanceUid) {
            url += QStringLiteral("/series/") + addressSegment(row[i]);
        } else if (attribute.tag == kSopInstanceUid) {
            url += QStringLiteral("/instances/") + addressSegment(row[i]);
        }
    }
    json.insert(QStringLiteral("00080056"), jsonFromText("CS", QStringLiteral("ONLINE")));
    json.insert(QStringLiteral("00081190"), jsonFromText("UR", url));
    return json;
}

} // namespace

void answerSearch(Exchange &exchange, const ArchiveIndex &index, Level level, const InstanceScope &scope)
{
    SearchReader reader(level, scope);
    for (const auto &[name, value] : exchange.query()) {
        reader.read(name, value);
    }
    const ArchiveQuery query = reader.query();
    if (reader.ignoredSomething()) {
        exchange.setHeader(
            "Warning",
            "299 quorin-cloud \"Some parameters are not supported; literal matching on the others.\"");
    }
    QJsonArray answer;
    const std::string root = exchange.origin() + "/dicom-web";
    for (const std::vector<QString> &row : index.query(query)) {
        answer.append(rowJson(query, row, root));
    }
    if (answer.isEmpty()) {
        exchange.answer(204);
        return;
    }
    answerDicomJson(exchange, 200, answer);
}

} // namespace gateway::cloud
