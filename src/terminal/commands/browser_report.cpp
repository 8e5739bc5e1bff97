#include "terminal/commands/browser_report.h"

#include "browser/browser_words.h"
#include "browser/local_study_series_row.h"
#include "browser/quorin_cloud_qido_series_row.h"
#include "browser/quorin_cloud_qido_study_row.h"
#include "browser/quorin_gateway_local_study_row.h"
#include "browser/row_texts.h"

#include <QtCore/QJsonArray>
#include <QtCore/QSet>

#include <algorithm>
#include <span>

namespace gateway::terminal {

using browser::TableKind;

namespace {

const QString kPlace = QStringLiteral("place");
const QString kAction = QStringLiteral("action");
const QString kSearch = QStringLiteral("search");
const QString kFailed = QStringLiteral("failed");
const QString kFilters = QStringLiteral("filters");
const QString kStudy = QStringLiteral("study");
const QString kTargets = QStringLiteral("targets");
const QString kYes = QStringLiteral("yes");
const QString kExpect = QStringLiteral("expect");
const QString kCloud = QStringLiteral("cloud");
const QString kId = QStringLiteral("id");

// In the order of the rows' columns.
constexpr const char *kCloudStudyKeys[browser::QuorinCloudQidoStudyRow::columnTotal] = {"patientName",
                                                                                        "patientID",
                                                                                        "studyDescription",
                                                                                        "modality",
                                                                                        "studyDate",
                                                                                        "studyTime",
                                                                                        "accession",
                                                                                        "images",
                                                                                        "studyInstanceUID"};
constexpr const char *kCloudSeriesKeys[browser::QuorinCloudQidoSeriesRow::columnTotal] = {
    "seriesNumber", "seriesDescription", "modality", "seriesDate", "images", "seriesInstanceUID"};
constexpr const char *kLocalStudyKeys[browser::QuorinGatewayLocalStudyRow::columnTotal] = {"patientName",
                                                                                           "patientID",
                                                                                           "modality",
                                                                                           "syncState",
                                                                                           "studyDescription",
                                                                                           "accession",
                                                                                           "dateAcquired",
                                                                                           "images"};
constexpr const char *kLocalSeriesKeys[browser::LocalStudySeriesRow::columnTotal] = {
    "seriesNumber", "seriesDescription", "modality", "syncState", "images", "seriesInstanceUID"};

std::span<const char *const> keysOf(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return kCloudStudyKeys;
    case TableKind::cloudSeries:
        return kCloudSeriesKeys;
    case TableKind::localStudies:
        return kLocalStudyKeys;
    case TableKind::localSeries:
        return kLocalSeriesKeys;
    }
    return {};
}

QString listKey(TableKind kind)
{
    return browser::holdsSeries(kind) ? QStringLiteral("series") : QStringLiteral("studies");
}

QJsonValue jsonOf(const char *key, const QString &cell)
{
    if (cell == browser::kMissing) {
        return QJsonValue::Null;
    }
    return qstrcmp(key, "images") == 0 ? QJsonValue(cell.toLongLong()) : QJsonValue(cell);
}

QJsonObject rowReport(const browser::BrowserTable &table, quint32 position)
{
    QJsonObject row;
    int column = 0;
    for (const char *key : keysOf(table.kind())) {
        row.insert(QString::fromLatin1(key), jsonOf(key, table.rows()->text(position, column++)));
    }
    if (table.kind() == TableKind::localStudies) {
        row.insert(kId, table.rows()->id(position));
    } else if (table.kind() == TableKind::localSeries) {
        const QJsonValue uid =
            row.value(QString::fromLatin1(kLocalSeriesKeys[browser::LocalStudySeriesRow::seriesUIDColumn]));
        row.insert(kId, uid.isNull() ? QJsonValue(table.rows()->id(position)) : uid);
    }
    return row;
}

QString cellText(const QJsonValue &value)
{
    if (value.isDouble()) {
        return QString::number(value.toInteger());
    }
    return value.isNull() ? browser::kMissing : value.toString().simplified();
}

/// Lines of cells, each column as wide as its widest cell.
QString aligned(const QList<QStringList> &lines)
{
    QList<qsizetype> widths;
    for (const QStringList &line : lines) {
        widths.resize(line.size());
        for (qsizetype column = 0; column < line.size(); ++column) {
            widths[column] = std::max(widths[column], line[column].size());
        }
    }
    QString text;
    for (const QStringList &line : lines) {
        QString words;
        for (qsizetype column = 0; column < line.size(); ++column) {
            words += line[column].leftJustified(widths[column] + 2);
        }
        text += words.trimmed() + u'\n';
    }
    return text;
}

} // namespace

ControlRequest browserRequest(const BrowserCommand &command)
{
    QJsonObject filters;
    for (auto each = command.filters.cbegin(); each != command.filters.cend(); ++each) {
        filters.insert(each.key(), each.value());
    }
    QJsonObject arguments{{kPlace, command.place == BrowserCommand::Place::cloud ? kCloud : QString()},
                          {kAction, static_cast<int>(command.action)},
                          {kSearch, command.searchText},
                          {kFailed, command.failuresOnly},
                          {kFilters, filters},
                          {kStudy, command.study},
                          {kTargets, QJsonArray::fromStringList(command.targets)},
                          {kYes, command.isConfirmed}};
    if (command.expected) {
        arguments.insert(kExpect, *command.expected);
    }
    return {requests::kBrowse, arguments};
}

BrowserCommand browserCommandIn(const ControlRequest &request)
{
    const QJsonObject &arguments = request.arguments;
    BrowserCommand command;
    command.place = arguments.value(kPlace).toString() == kCloud ? BrowserCommand::Place::cloud
                                                                 : BrowserCommand::Place::local;
    command.action = static_cast<BrowserCommand::Action>(arguments.value(kAction).toInt());
    command.searchText = arguments.value(kSearch).toString();
    command.failuresOnly = arguments.value(kFailed).toBool();
    const QJsonObject filters = arguments.value(kFilters).toObject();
    for (auto each = filters.constBegin(); each != filters.constEnd(); ++each) {
        command.filters.insert(each.key(), each.value().toString());
    }
    command.study = arguments.value(kStudy).toString();
    for (const auto &target : arguments.value(kTargets).toArray()) {
        command.targets.append(target.toString());
    }
    command.isConfirmed = arguments.value(kYes).toBool();
    if (arguments.contains(kExpect)) {
        command.expected = arguments.value(kExpect).toInteger();
    }
    return command;
}

TableKind tableKindOf(const BrowserCommand &command)
{
    const bool ofSeries = !command.study.isEmpty();
    if (command.place == BrowserCommand::Place::cloud) {
        return ofSeries ? TableKind::cloudSeries : TableKind::cloudStudies;
    }
    return ofSeries ? TableKind::localSeries : TableKind::localStudies;
}

QJsonObject rowsReport(const browser::BrowserTable &table)
{
    QJsonArray rows;
    for (const quint32 position : table.shown()) {
        rows.append(rowReport(table, position));
    }
    return {{listKey(table.kind()), rows}};
}

QString rowsText(const QJsonObject &report, TableKind kind)
{
    const QJsonArray rows = report.value(listKey(kind)).toArray();
    if (rows.isEmpty()) {
        return browser::nothingFoundWords(kind) + u'\n';
    }
    const bool showsId = kind == TableKind::localStudies; // it has no column with what a deletion names
    QStringList titles;
    for (int column = 0; column < static_cast<int>(keysOf(kind).size()); ++column) {
        titles.append(browser::columnTitle(kind, column));
    }
    if (showsId) {
        titles.append(QStringLiteral("Study UID"));
    }
    QList<QStringList> lines{titles};
    for (const auto &row : rows) {
        QStringList cells;
        for (const char *key : keysOf(kind)) {
            cells.append(cellText(row[QLatin1StringView(key)]));
        }
        if (showsId) {
            cells.append(row[kId].toString());
        }
        lines.append(cells);
    }
    return aligned(lines);
}

QString deletionText(const QJsonObject &result, TableKind kind)
{
    const qint64 deleted = result.value(QStringLiteral("deleted")).toInteger();
    const QString what = browser::holdsSeries(kind) ? QStringLiteral("series")
                         : deleted == 1             ? QStringLiteral("study")
                                                    : QStringLiteral("studies");
    const QString lost = browser::outsideCloudWords(
        kind, {result.value(kImagesOutsideCloud).toInteger(), result.value(kOutsideCloud).toInteger()});
    return QStringLiteral("Deleted %1 %2. %3\n")
               .arg(QString::number(deleted), what, browser::whatStays(kind)) +
           (lost.isEmpty() ? lost : lost + u'\n');
}

qsizetype namedTargets(const BrowserCommand &command)
{
    QSet<QString> named;
    for (const QString &target : command.targets) {
        named.insert(target.trimmed());
    }
    named.remove(QString());
    return named.size();
}

QString faultInDeletion(const BrowserCommand &command, const browser::OutsideCloudCount &outsideCloud)
{
    const qsizetype named = namedTargets(command);
    const TableKind kind = tableKindOf(command);
    const QString what = browser::holdsSeries(kind) ? QStringLiteral("series")
                         : named == 1               ? QStringLiteral("study")
                                                    : QStringLiteral("studies");
    if (!command.isConfirmed || !command.expected) {
        const QString where =
            browser::isCloud(kind) ? QStringLiteral("Quorin Cloud") : QStringLiteral("this computer");
        const QString lost = browser::outsideCloudWords(kind, outsideCloud);
        return QStringLiteral("This would delete %1 %2 from %3 for good.%4To do it, add --yes --expect %1.")
            .arg(QString::number(named), what, where, lost.isEmpty() ? u" "_qs : u'\n' + lost + u'\n');
    }
    if (*command.expected != named) {
        return QStringLiteral("%1 %2 would be deleted, and %3 expected. Nothing was deleted.")
            .arg(QString::number(named),
                 what,
                 *command.expected == 1 ? QStringLiteral("1 is")
                                        : QStringLiteral("%1 are").arg(*command.expected));
    }
    return {};
}

} // namespace gateway::terminal
