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

Conversion DicomConverterWrapper::convertToJPEGLossless(const QString &path)
{
    if (!makeFolder(m_temporaryFolder)) {
        return {{}, QStringLiteral("the folder for converted files can't be made")};
    }
    const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QString output = m_temporaryFolder + u'/' + outputName(unique);
    const std::string source = QFile::encodeName(path).toStdString();
    const std::string target = QFile::encodeName(output).toStdString();
    const auto result = m_workers.run({"convert", {{"path", source}, {"output", target}}}, kJobTimeout);
    const std::string_view answered = result.answer.text("path");
    if (result.outcome == WorkerProcessPool::Outcome::answered && result.answer.word == "converted") {
        if (answered == target) {
            return {output, {}};
        }
        if (answered == source) {
            return {path, {}};
        }
    }
    QFile::remove(output);
    const std::string_view message = result.answer.text("message");
    return {{},
            message.empty() ? reason(result.outcome)
                            : QString::fromUtf8(message.data(), static_cast<qsizetype>(message.size()))};
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
