#include "cloud/store/archive_query.h"

namespace gateway::cloud {

namespace {

const char *aliasOf(Level level)
{
    switch (level) {
    case Level::study:
        return "s.";
    case Level::series:
        return "e.";
    case Level::instance:
        return "i.";
    }
    return "";
}

std::string expressionOf(const Attribute &attribute)
{
    if (!attribute.counted) {
        return std::string(aliasOf(attribute.level)) + attribute.keyword;
    }
    const std::string_view keyword = attribute.keyword;
    if (keyword == "ModalitiesInStudy") {
        return "(SELECT REPLACE(GROUP_CONCAT(DISTINCT x.Modality), ',', '\\') FROM series x"
               " WHERE x.StudyInstanceUID = s.StudyInstanceUID)";
    }
    if (keyword == "NumberOfStudyRelatedSeries") {
        return "(SELECT COUNT(*) FROM series x WHERE x.StudyInstanceUID = s.StudyInstanceUID)";
    }
    if (keyword == "NumberOfStudyRelatedInstances") {
        return "(SELECT COUNT(*) FROM instances x WHERE x.StudyInstanceUID = s.StudyInstanceUID)";
    }
    return "(SELECT COUNT(*) FROM instances x WHERE x.StudyInstanceUID = e.StudyInstanceUID"
           " AND x.SeriesInstanceUID = e.SeriesInstanceUID)";
}

QStringList listOf(const QString &value)
{
    QString list = value;
    list.replace(u'\\', u',');
    return list.split(u',', Qt::SkipEmptyParts);
}

/// `expression IN (?, ?)`, or `expression IN ()` where the list is empty, which matches nothing.
std::string inList(const std::string &expression, const QStringList &values, QStringList &bindings)
{
    std::string marks;
    for (const QString &value : values) {
        marks += marks.empty() ? "?" : ",?";
        bindings.append(value.trimmed());
    }
    return expression + " IN (" + marks + ")";
}

std::string range(const std::string &expression, const QString &value, QStringList &bindings)
{
    const qsizetype dash = value.indexOf(u'-');
    const QString from = value.left(dash).trimmed();
    const QString to = value.mid(dash + 1).trimmed();
    std::string condition = expression + " <> ''";
    if (!from.isEmpty()) {
        condition += " AND " + expression + " >= ?";
        bindings.append(from);
    }
    if (!to.isEmpty()) {
        // A shorter end takes in all that begins with it: 1030 means to the end of that minute.
        condition += " AND SUBSTR(" + expression + ", 1, " + std::to_string(to.size()) + ") <= ?";
        bindings.append(to);
    }
    return condition;
}

/// Names match without regard to case and against the alphabetic group alone, too.
std::string personName(const std::string &expression, const QString &value, QStringList &bindings)
{
    QString pattern;
    for (const QChar letter : value) {
        if (letter == u'%' || letter == u'_' || letter == u'\\') {
            pattern += u'\\';
        }
        pattern += letter == u'*' ? QChar(u'%') : letter == u'?' ? QChar(u'_') : letter;
    }
    bindings << pattern << pattern + QStringLiteral("=%");
    return "(" + expression + " LIKE ? ESCAPE '\\' OR " + expression + " LIKE ? ESCAPE '\\')";
}

std::string text(const std::string &expression, const QString &value, QStringList &bindings)
{
    if (!value.contains(u'*') && !value.contains(u'?')) {
        bindings.append(value);
        return expression + " = ?";
    }
    QString pattern = value;
    bindings.append(pattern.replace(u'[', QStringLiteral("[[]")));
    return expression + " GLOB ?";
}

std::string conditionFor(const Attribute &attribute, const QString &value, QStringList &bindings)
{
    const std::string expression = expressionOf(attribute);
    const std::string_view vr = attribute.vr;
    if (std::string_view(attribute.keyword) == "ModalitiesInStudy") {
        return "EXISTS (SELECT 1 FROM series x WHERE x.StudyInstanceUID = s.StudyInstanceUID AND " +
               inList("x.Modality", listOf(value), bindings) + ")";
    }
    if (vr == "UI") {
        return inList(expression, listOf(value), bindings);
    }
    if ((vr == "DA" || vr == "TM") && value.contains(u'-')) {
        return range(expression, value, bindings);
    }
    if (vr == "PN") {
        return personName(expression, value, bindings);
    }
    if (attribute.counted) {
        bindings.append(value);
        return "CAST(" + expression + " AS TEXT) = ?";
    }
    return text(expression, value, bindings);
}

std::string tablesOf(Level level)
{
    std::string tables = " FROM studies s";
    if (level != Level::study) {
        tables += " JOIN series e ON e.StudyInstanceUID = s.StudyInstanceUID";
    }
    if (level == Level::instance) {
        tables += " JOIN instances i ON i.StudyInstanceUID = e.StudyInstanceUID"
                  " AND i.SeriesInstanceUID = e.SeriesInstanceUID";
    }
    return tables;
}

} // namespace

QuerySql sqlFor(const ArchiveQuery &query)
{
    QuerySql result;
    for (const Attribute *column : query.columns) {
        result.sql += (result.sql.empty() ? "SELECT " : ", ") + expressionOf(*column);
    }
    result.sql += tablesOf(query.level);
    std::string glue = " WHERE ";
    for (const auto &[attribute, value] : query.matches) {
        // An empty key and a lone star match everything (PS3.4, section C.2.2.2.3).
        if (value.isEmpty() || value == u"*") {
            continue;
        }
        result.sql += glue + conditionFor(*attribute, value, result.bindings);
        glue = " AND ";
    }
    result.sql += " ORDER BY s.rowid";
    result.sql += query.level == Level::study ? "" : ", e.rowid";
    result.sql += query.level == Level::instance ? ", i.rowid" : "";
    result.sql += " LIMIT ? OFFSET ?";
    return result;
}

} // namespace gateway::cloud
