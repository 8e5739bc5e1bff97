#include "platform/dicom/dicom_file.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/dicom_protocol/words.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <array>
#include <stdexcept>

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

/// A file that a worker couldn't stand twice has shown that it isn't chance.
constexpr int kDeathsOfAFile = 2;

/// A second time-out shows that the disk won't come back soon.
constexpr int kTimeOuts = 2;

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

} // namespace

std::optional<DicomElements> DicomFile::parse(const QString &path)
{
    const Record job{"parse", {{"path", QFile::encodeName(path).toStdString()}}};
    int deaths = 0;
    int timeOuts = 0;
    for (const std::chrono::milliseconds pause : kPauses) {
        const WorkerProcessPool::Result result = m_workers.run(job, m_timeout);
        switch (result.outcome) {
        case WorkerProcessPool::Outcome::answered:
            return result.answer.word == "parsed" ? std::optional(toElements(result.answer, path))
                                                  : std::nullopt;
        case WorkerProcessPool::Outcome::died:
            if (++deaths == kDeathsOfAFile) {
                return std::nullopt;
            }
            break;
        case WorkerProcessPool::Outcome::timedOut:
            if (++timeOuts == kTimeOuts) {
                throw std::runtime_error("the file couldn't be read in time");
            }
            break;
        case WorkerProcessPool::Outcome::notStarted:
            break;
        }
        m_clock.sleep(pause, {});
    }
    throw std::runtime_error("no worker process could be started");
}

} // namespace gateway::platform
