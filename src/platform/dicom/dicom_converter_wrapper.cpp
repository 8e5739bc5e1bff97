#include "platform/dicom/dicom_converter_wrapper.h"

#include "platform/dicom/worker_process_pool.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <sys/stat.h>

namespace gateway::platform {

namespace {

using dicom_protocol::Record;

/// A whole-body study in one object takes a minute or two; what takes longer is sent as it is.
constexpr std::chrono::minutes kJobTimeout(10);

QString outputName(const QString &unique)
{
    return QStringLiteral("converted-%1.dcm").arg(unique);
}

QString text(const Record &record, std::string_view name)
{
    const std::string_view value = record.text(name);
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

bool makeFolder(const QString &folder)
{
    return QDir().mkpath(folder) && ::chmod(QFile::encodeName(folder).constData(), S_IRWXU) == 0;
}

QString reason(WorkerProcessPool::Outcome outcome)
{
    switch (outcome) {
    case WorkerProcessPool::Outcome::answered:
        break;
    case WorkerProcessPool::Outcome::died:
        return QStringLiteral("the worker ended in the middle of the conversion");
    case WorkerProcessPool::Outcome::timedOut:
        return QStringLiteral("the conversion took too long");
    case WorkerProcessPool::Outcome::notStarted:
        return QStringLiteral("no worker can be started");
    }
    return QStringLiteral("the conversion failed");
}

} // namespace

DicomConverterWrapper::DicomConverterWrapper(WorkerProcessPool &workers, QString temporaryFolder)
    : m_workers(workers), m_temporaryFolder(std::move(temporaryFolder))
{
}

SendableFile DicomConverterWrapper::convertToJPEGLossless(const QString &path)
{
    return made("convert", path);
}

SendableFile DicomConverterWrapper::makeSendable(const QString &path)
{
    return made("sendable", path);
}

SendableFile DicomConverterWrapper::made(const char *job, const QString &path)
{
    const QString output = temporaryPath();
    if (output.isEmpty()) {
        return {.fate = SendableFile::Fate::machineTrouble,
                .error = QStringLiteral("the folder for converted files can't be made")};
    }
    const std::string source = QFile::encodeName(path).toStdString();
    const std::string target = QFile::encodeName(output).toStdString();
    const auto result = m_workers.run({job, {{"path", source}, {"output", target}}}, kJobTimeout);
    const Record &answer = result.answer;
    const bool isAnswered = result.outcome == WorkerProcessPool::Outcome::answered;
    const std::string_view answered = answer.text("path");
    if (isAnswered && answer.word == "sendable" && (answered == target || answered == source)) {
        return {.fate = SendableFile::Fate::ready,
                .path = answered == target ? output : path,
                .identity = {StudyUid(text(answer, "study")),
                             SeriesUid(text(answer, "series")),
                             InstanceUid(text(answer, "instance"))},
                .version = answer.number("version", 0),
                .isConverted = answer.number("converted", 0) == 1};
    }
    QFile::remove(output);
    const std::int64_t version = isAnswered ? answer.number("version", 0) : 0;
    if (isAnswered && answer.word == "nameless") {
        return {.fate = SendableFile::Fate::nameless, .version = version};
    }
    const QString message = text(answer, "message");
    const bool isOfTheMachine = result.outcome == WorkerProcessPool::Outcome::notStarted ||
                                (isAnswered && answer.word == "unwritten");
    return {.fate = isOfTheMachine ? SendableFile::Fate::machineTrouble : SendableFile::Fate::failed,
            .error = message.isEmpty() ? reason(result.outcome) : message,
            .version = version};
}

QString DicomConverterWrapper::temporaryPath()
{
    const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return makeFolder(m_temporaryFolder) ? m_temporaryFolder + u'/' + outputName(unique) : QString();
}

Likeness DicomConverterWrapper::compare(const QString &fetched, const QString &sent, const QString &stored)
{
    const auto encoded = [](const QString &path) { return QFile::encodeName(path).toStdString(); };
    const auto result = m_workers.run(
        {"compare", {{"path", encoded(fetched)}, {"sent", encoded(sent)}, {"stored", encoded(stored)}}},
        kJobTimeout);
    if (result.outcome == WorkerProcessPool::Outcome::answered && result.answer.word == "same") {
        return Likeness::same;
    }
    return result.outcome == WorkerProcessPool::Outcome::answered && result.answer.word == "different"
               ? Likeness::different
               : Likeness::unknown;
}

int DicomConverterWrapper::sweepLeftovers() const
{
    QDir folder(m_temporaryFolder);
    int removed = 0;
    for (const QString &name :
         folder.entryList({outputName(QStringLiteral("*"))}, QDir::Files | QDir::Hidden)) {
        removed += folder.remove(name) ? 1 : 0;
    }
    return removed;
}

} // namespace gateway::platform
