#include "index/import_recorder.h"

#include "index/parsed_object.h"
#include "index/stored_copies.h"
#include "index/sync_state.h"
#include "platform/files/file_error.h"
#include "platform/sqlite/database.h"

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string_view>

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

constexpr std::string_view kStudy = R"sql(
INSERT INTO Study (createDate, name, modality, id, studyInstanceUID, acquisitionDate, studyName,
    referringPhysician, performingPhysician, institutionName, accessionNumber, hasDICOM, syncState)
VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0)
ON CONFLICT (studyInstanceUID) DO UPDATE SET
    createDate = excluded.createDate, name = excluded.name, modality = excluded.modality, id = excluded.id,
    acquisitionDate = excluded.acquisitionDate, studyName = excluded.studyName,
    referringPhysician = excluded.referringPhysician, performingPhysician = excluded.performingPhysician,
    institutionName = excluded.institutionName, accessionNumber = excluded.accessionNumber,
    hasDICOM = excluded.hasDICOM
RETURNING pk)sql";

constexpr std::string_view kSeries = R"sql(
INSERT INTO Series (study, createDate, seriesInstanceUID, originalSeriesInstanceUID, name, modality,
    seriesNumber, seriesDICOMUID, seriesSOPClassUID, numberOfFrames, windowWidth, windowLevel, syncState)
VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0)
ON CONFLICT (study, seriesInstanceUID) DO UPDATE SET
    createDate = excluded.createDate, originalSeriesInstanceUID = excluded.originalSeriesInstanceUID,
    name = excluded.name, modality = excluded.modality, seriesNumber = excluded.seriesNumber,
    seriesDICOMUID = excluded.seriesDICOMUID, seriesSOPClassUID = excluded.seriesSOPClassUID,
    numberOfFrames = excluded.numberOfFrames, windowWidth = excluded.windowWidth,
    windowLevel = excluded.windowLevel
RETURNING pk)sql";

// An instance without a UID has NULL in the last column of the unique key and so never meets another's row.
constexpr std::string_view kImage = R"sql(
INSERT INTO DicomImage (series, createDate, date, pathString, fileType, fileExtension, height, width,
    numberOfFrames, numberOfSeries, seriesInstanceUID, sopInstanceUID, originalSOPInstanceUID, orientation,
    origin, sliceLocation, comment, modality, frameID, instanceNumber, acknowledged, damaged, cameFrom,
    contentVersion, syncState)
VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19, ?20, ?22, ?23,
    ?24, ?25, 0)
ON CONFLICT (series, sopInstanceUID, frameID, originalSOPInstanceUID) DO UPDATE SET
    createDate = excluded.createDate, date = excluded.date, pathString = excluded.pathString,
    fileType = excluded.fileType, fileExtension = excluded.fileExtension, height = excluded.height,
    width = excluded.width, numberOfFrames = excluded.numberOfFrames,
    numberOfSeries = excluded.numberOfSeries, orientation = excluded.orientation, origin = excluded.origin,
    sliceLocation = coalesce(excluded.sliceLocation, sliceLocation), comment = excluded.comment,
    modality = excluded.modality, instanceNumber = excluded.instanceNumber,
    acknowledged = excluded.acknowledged, damaged = excluded.damaged, cameFrom = excluded.cameFrom,
    contentVersion = excluded.contentVersion,
    syncState = CASE WHEN trim(pathString, ?21) IS excluded.pathString THEN syncState ELSE 0 END,
    uploadDate = CASE WHEN trim(pathString, ?21) IS excluded.pathString THEN uploadDate END)sql";

constexpr int kFrameParameter = 19;
constexpr int kInstanceNumberParameter = 20;
constexpr int kWhiteSpaceParameter = 21;
constexpr int kAcknowledgedParameter = 22;
constexpr int kDamagedParameter = 23;
constexpr int kOriginParameter = 24;
constexpr int kContentVersionParameter = 25;

// Frames that only an earlier version of the image had.
constexpr std::string_view kDeleteOtherFrames =
    "DELETE FROM DicomImage WHERE series = ? AND sopInstanceUID = ? AND originalSOPInstanceUID = ? "
    "AND pathString IS NOT ?";

std::int64_t fittingInt32(std::int64_t value, std::int64_t highestAddition = 0)
{
    const bool fits = value >= std::numeric_limits<std::int32_t>::min() &&
                      value <= std::numeric_limits<std::int32_t>::max() - highestAddition;
    return fits ? value : 0;
}

struct Extent
{
    std::int64_t series = 1;
    std::int64_t frames = 1;
};

Extent extentOf(const ParsedObject &object)
{
    const Extent claimed{std::max<std::int64_t>(1, object.numberOfSeries),
                         std::max<std::int64_t>(1, object.numberOfFrames)};
    const bool believable = claimed.series <= kMaxRowsOfAFile && claimed.frames <= kMaxRowsOfAFile &&
                            claimed.series * claimed.frames <= kMaxRowsOfAFile;
    return believable ? claimed : Extent{};
}

// The key of the row that the statement wrote.
std::int64_t writtenRow(Statement &statement)
{
    const std::int64_t key = statement.step() ? statement.integer(0) : 0;
    statement.run();
    return key;
}

std::int64_t writeStudy(Database &database, const ParsedObject &object, std::int64_t now)
{
    Statement study = database.prepare(kStudy);
    study.bindAll(now,
                  object.patientName,
                  object.modality,
                  object.patientID,
                  object.studyInstanceUID,
                  object.studyDate,
                  object.studyDescription,
                  object.referringPhysician,
                  object.performingPhysician,
                  object.institutionName,
                  object.accessionNumber,
                  object.hasDicom);
    return writtenRow(study);
}

std::int64_t writeSeries(Database &database,
                         const ParsedObject &object,
                         std::int64_t study,
                         const QString &key,
                         const Extent &extent,
                         std::int64_t now)
{
    Statement series = database.prepare(kSeries);
    series.bindAll(study,
                   now,
                   key,
                   object.seriesInstanceUID.value_or(platform::SeriesUid()),
                   object.seriesDescription.value_or(QString()),
                   object.modality,
                   fittingInt32(object.seriesNumber),
                   object.seriesDicomUID,
                   object.sopClassUID,
                   extent.frames,
                   object.windowWidth,
                   object.windowCenter);
    return writtenRow(series);
}

struct SeriesRow
{
    std::int64_t row = 0;
    QString key;
    std::int64_t index = 0; // of the series within the file
};

void writeImages(Database &database,
                 const ParsedObject &object,
                 const SeriesRow &series,
                 const StoredFile &file,
                 const Extent &extent,
                 std::int64_t now)
{
    const QString &uid = object.sopInstanceUID.value();
    Statement image = database.prepare(kImage);
    image.bindAll(series.row,
                  now,
                  object.studyDate,
                  file.pathString,
                  object.fileType,
                  QFileInfo(file.pathString).suffix(),
                  fittingInt32(object.height),
                  fittingInt32(object.width),
                  extent.frames,
                  extent.series,
                  series.key,
                  uid + QString::number(series.index),
                  uid.isEmpty() ? std::nullopt : std::optional(uid),
                  object.orientation,
                  object.origin,
                  object.sliceLocation,
                  object.comments,
                  object.modality);
    image.bind(kWhiteSpaceParameter, QStringLiteral(" \t\n\r\f\v"));
    image.bind(kAcknowledgedParameter, file.acknowledged);
    image.bind(kOriginParameter, static_cast<std::int64_t>(file.origin));
    image.bind(kDamagedParameter, object.isDamaged);
    image.bind(kContentVersionParameter, file.contentVersion);
    const std::int64_t first = fittingInt32(object.instanceNumber, extent.frames - 1);
    for (std::int64_t frame = 0; frame < extent.frames; ++frame) {
        image.bind(kFrameParameter, frame).bind(kInstanceNumberParameter, first + frame).run();
    }
    database.prepare(kDeleteOtherFrames)
        .bindAll(series.row, uid + QString::number(series.index), uid, file.pathString)
        .run();
}

QStringList keysOf(const ParsedObject &object, const Extent &extent)
{
    QStringList keys;
    for (std::int64_t index = 0; index < extent.series; ++index) {
        keys.append(object.seriesKey + QString::number(index));
    }
    return keys;
}

void writeRows(Database &database,
               const ParsedObject &object,
               const StoredFile &file,
               const Extent &extent,
               const QStringList &keys,
               std::int64_t now)
{
    const std::int64_t study = writeStudy(database, object, now);
    for (qsizetype index = 0; index < keys.size(); ++index) {
        const std::int64_t row = writeSeries(database, object, study, keys[index], extent, now);
        writeImages(database, object, {row, keys[index], index}, file, extent, now);
    }
}

/// The rows stand for the file now: notes those that they stood for before.
void noteReplaced(Database &database, const StoredFile &file, const std::vector<CurrentCopy> &copies)
{
    database.prepare("DELETE FROM SupersededFile WHERE pathString = ?").bindAll(file.pathString).run();
    for (const CurrentCopy &copy : copies) {
        if (copy.isThere) {
            noteSuperseded(database, copy, file.pathString);
        } else {
            handOver(database, copy.pathString, file.pathString); // should it come back, it is judged anew
        }
    }
}

/// What a file held when it was taken stays what it held, whatever is read of it later: its disk may have
/// lost a part of it since.
std::int64_t versionWhenTaken(Database &database, const StoredFile &file)
{
    Statement row = database.prepare(
        "SELECT contentVersion FROM DicomImage WHERE pathString = ? AND contentVersion <> 0 LIMIT 1");
    row.bindAll(file.pathString);
    return row.step() ? row.integer(0) : file.contentVersion;
}

/// The rows stay with the rival: notes the file beside it.
QSet<QString> noteBeside(Database &database, const StoredFile &file, const Judgement &judgement)
{
    const CurrentCopy &rival = judgement.rival;
    if (judgement.standing == Standing::sameObject) {
        noteForRemoval(database, {file.pathString});
        return {file.pathString};
    }
    noteSuperseded(database,
                   {.pathString = file.pathString,
                    .acknowledged = file.acknowledged,
                    .isOwed = file.origin != FileOrigin::broughtIn},
                   rival.pathString);
    database.prepare("UPDATE DicomImage SET acknowledged = ? WHERE pathString = ? AND acknowledged = 0")
        .bindAll(rival.acknowledged, rival.pathString)
        .run();
    return releaseIfProven(database, rival.pathString);
}

} // namespace

Recorded
recordImport(Database &database, const ParsedObject &object, const StoredFile &stored, std::int64_t now)
{
    if (stored.store != storeTurn(database)) {
        throw platform::FileError("record a file of a store that is the index's no more", ENOENT);
    }
    StoredFile file = stored;
    file.contentVersion = versionWhenTaken(database, stored);
    if (isSupersededAndNotOwed(database, file.pathString)) {
        file.origin = FileOrigin::broughtIn;
    }
    const Extent extent = extentOf(object);
    const Judgement judgement = judge(database, object, file);
    Recorded recorded{keysOf(object, extent), judgement.standing == Standing::current, {}, {}};
    if (recorded.isCurrent) {
        noteReplaced(database, file, judgement.copies);
        writeRows(database, object, file, extent, recorded.seriesKeys, now);
        for (const CurrentCopy &copy : judgement.copies) {
            recorded.replaced.insert(copy.pathString);
        }
    } else {
        recorded.released = noteBeside(database, file, judgement);
    }
    database
        .prepare("UPDATE Ledger SET nextFileNumber = max(nextFileNumber, ?), "
                 "newestAcknowledged = max(newestAcknowledged, ?)")
        .bindAll(file.number + 1, file.acknowledged)
        .run();
    rollUpAllStates(database);
    return recorded;
}

} // namespace gateway::index
