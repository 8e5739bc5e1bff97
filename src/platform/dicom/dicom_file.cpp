#include "platform/dicom/dicom_file.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/dicom_protocol/words.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>

namespace gateway::platform {

namespace {

using dicom_protocol::Record;

/// Pauses before the next try. A full process table or memory gets a minute to recover.
constexpr std::array<std::chrono::milliseconds, 7> kPauses{std::chrono::milliseconds(100),
                                                           std::chrono::milliseconds(400),
                                                           std::chrono::milliseconds(1500),
                                                           std::chrono::seconds(5),
                                                           std::chrono::seconds(10),
                                                           std::chrono::seconds(20),
                                                           std::chrono::seconds(25)};

/// After so many tries with one file its turn is over, so that others get theirs.
constexpr int kTriesOfAFile = 3;

/// Deaths and time-outs cost more than an answer: a second one shows that a third won't help now.
constexpr int kLossesOfAFile = 2;

/// Bytes in a millisecond that the slowest disk reads, and the most time that a file may take by that.
constexpr qint64 kSlowestReading = 256;
constexpr std::chrono::milliseconds kLongestReading = std::chrono::minutes(10);

std::chrono::milliseconds timeToRead(const QString &path)
{
    return std::min(kLongestReading, std::chrono::milliseconds(QFileInfo(path).size() / kSlowestReading));
}

QVariant toDate(const QString &text)
{
    // Without an offset a time is meant where the gateway stands: DICOM times are local to the equipment
    // (PS3.3 C.12.1.1). A date alone is that day's beginning.
    const QDateTime date = text.contains(u'T') ? QDateTime::fromString(text, Qt::ISODateWithMs)
                                               : QDate::fromString(text, Qt::ISODate).startOfDay();
    return date.isValid() ? QVariant(date.toUTC()) : QVariant();
}

QVariant toReals(const QString &text)
{
    QVariantList values;
    for (const QString &value : text.split(u'\\')) {
        values.append(value.toDouble());
    }
    return values;
}

/// The value of one field; an invalid one where the worker sent something unexpected.
QVariant toVariant(std::string_view field)
{
    if (field.empty()) {
        return {};
    }
    const QString text = QString::fromUtf8(field.data() + 1, static_cast<qsizetype>(field.size() - 1));
    switch (field.front()) {
    case dicom_protocol::kTextValue:
        return text;
    case dicom_protocol::kIntegerValue:
        return text.toLongLong();
    case dicom_protocol::kRealValue:
        return text.toDouble();
    case dicom_protocol::kRealsValue:
        return toReals(text);
    case dicom_protocol::kBooleanValue:
        return text == QStringLiteral("1");
    case dicom_protocol::kDateValue:
        return toDate(text);
    default:
        return {};
    }
}

DicomElements toElements(const Record &record, const QString &path)
{
    DicomElements elements;
    for (const auto &[key, field] : record.fields) {
        const QVariant value = toVariant(field);
        if (value.isValid()) {
            elements.insert(QString::fromStdString(key), value);
        }
    }
    elements.insert(QStringLiteral("filePath"), path);
    return elements;
}

ParsedFile trouble(int code, const QString &message)
{
    return {ParsedFile::Fate::trouble, {}, code, message};
}

/// What a worker's answer says; an answer that isn't known is trouble with the worker.
ParsedFile toParsedFile(const Record &answer, const QString &path)
{
    if (answer.word == "parsed") {
        return {.fate = ParsedFile::Fate::parsed,
                .elements = toElements(answer, path),
                .version = answer.number("version", 0)};
    }
    const auto text = [&answer](std::string_view key) {
        const std::string_view value = answer.text(key);
        return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
    };
    if (answer.word == "unreadable") {
        return {ParsedFile::Fate::notDicom, {}, 0, text("message")};
    }
    return trouble(text("errno").toInt(), text("message"));
}

/// What one try says about the file.
ParsedFile toParsedFile(const WorkerProcessPool::Result &result, const QString &path)
{
    switch (result.outcome) {
    case WorkerProcessPool::Outcome::answered:
        return toParsedFile(result.answer, path);
    case WorkerProcessPool::Outcome::died:
        return trouble(0, QStringLiteral("the worker ended while it read the file"));
    case WorkerProcessPool::Outcome::timedOut:
        return trouble(ETIMEDOUT, QStringLiteral("the file couldn't be read in time"));
    case WorkerProcessPool::Outcome::notStarted:
        break;
    }
    return {ParsedFile::Fate::unavailable, {}, 0, QStringLiteral("no worker process could be started")};
}

} // namespace

ParsedFile DicomFile::parse(const QString &path)
{
    return parse(path, false);
}

ParsedFile DicomFile::parseWithVersion(const QString &path)
{
    return parse(path, true);
}

ParsedFile DicomFile::parse(const QString &path, bool isVersionWanted)
{
    const Record elements{"parse", {{"path", QFile::encodeName(path).toStdString()}}};
    Record whole = elements;
    whole.word = "parse_with_version";
    int tries = 0;
    int losses = 0;
    ParsedFile file;
    using Outcome = WorkerProcessPool::Outcome;
    for (const std::chrono::milliseconds pause : kPauses) {
        const WorkerProcessPool::Result result = isVersionWanted
                                                     ? m_workers.run(whole, m_timeout + timeToRead(path))
                                                     : m_workers.run(elements, m_timeout);
        file = toParsedFile(result, path);
        // Its pixels may be what no worker gets through; without a version the object still counts.
        isVersionWanted =
            isVersionWanted && result.outcome != Outcome::timedOut && result.outcome != Outcome::died;
        if (file.fate == ParsedFile::Fate::parsed || file.fate == ParsedFile::Fate::notDicom) {
            return file;
        }
        if (file.fate == ParsedFile::Fate::trouble) {
            losses += result.outcome == WorkerProcessPool::Outcome::answered ? 0 : 1;
            if (++tries == kTriesOfAFile || losses == kLossesOfAFile) {
                return file;
            }
        }
        m_clock.sleep(pause, {});
    }
    return file;
}

std::int64_t DicomFile::versionOf(const QString &path)
{
    const WorkerProcessPool::Result result = m_workers.run(
        {"version", {{"path", QFile::encodeName(path).toStdString()}}}, m_timeout + timeToRead(path));
    return result.answer.word == "version" ? result.answer.number("version", 0) : 0;
}

} // namespace gateway::platform
