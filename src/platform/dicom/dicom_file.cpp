#include "platform/dicom/dicom_file.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/dicom_protocol/words.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>

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
        return {ParsedFile::Fate::parsed, toElements(answer, path)};
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
    const Record job{"parse", {{"path", QFile::encodeName(path).toStdString()}}};
    int tries = 0;
    int losses = 0;
    ParsedFile file;
    for (const std::chrono::milliseconds pause : kPauses) {
        const WorkerProcessPool::Result result = m_workers.run(job, m_timeout);
        file = toParsedFile(result, path);
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
    const WorkerProcessPool::Result result =
        m_workers.run({"version", {{"path", QFile::encodeName(path).toStdString()}}}, m_timeout);
    return result.answer.word == "version" ? result.answer.number("version", 0) : 0;
}

} // namespace gateway::platform
