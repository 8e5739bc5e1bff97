#include "cloud/service/bug_report.h"

#include "cloud/http/exchange.h"
#include "cloud/http/multipart_parser.h"
#include "cloud/http/problem.h"
#include "cloud/http/text.h"
#include "cloud/service/json_answers.h"
#include "cloud/store/part_file.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QUuid>

#include <memory>

namespace gateway::cloud {

namespace {

constexpr qsizetype kMaxReport = 1024 * 1024;

HttpProblem badReport(const QString &detail)
{
    return {400, ProblemKind::badRequest, detail};
}

/// Collects the report in memory and each attachment in a file.
class ReportReceiver final : public MultipartSink
{
public:
    explicit ReportReceiver(const QString &folder) : m_folder(folder) {}

    void partBegan(const PartHeaders &headers) override
    {
        const auto found = headers.find("content-disposition");
        const MediaType disposition = parseMediaType(found == headers.end() ? "" : found->second);
        m_name = disposition.parameter("name");
        if (m_name == "attachment") {
            m_attachment = std::make_unique<PartFile>(m_folder);
            m_fileName = QString::fromUtf8(disposition.parameter("filename"));
        } else if (m_name != "report") {
            throw badReport(QStringLiteral("The report holds an unknown part."));
        }
    }

    void partData(std::string_view bytes) override
    {
        if (m_attachment) {
            m_attachment->write(bytes);
            return;
        }
        m_report.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
        if (m_report.size() > kMaxReport) {
            throw badReport(QStringLiteral("The report is too long."));
        }
    }

    void partEnded() override
    {
        if (m_attachment) {
            // The sender's name is only written down; on the disk attachments are numbered.
            const qsizetype number = m_attachments.size() + 1;
            const QString path = m_folder + QStringLiteral("/attachment-%1").arg(number);
            m_attachment->moveTo(path);
            syncFile(path);
            m_attachments.append(
                QJsonObject{{QStringLiteral("fileName"), m_fileName},
                            {QStringLiteral("bytes"), static_cast<qint64>(m_attachment->size())}});
            m_attachment.reset();
        }
    }

    /// Writes the report down. \throws HttpProblem  where there was none.
    void finish()
    {
        const QJsonDocument document = QJsonDocument::fromJson(m_report);
        if (!document.isObject()) {
            throw badReport(QStringLiteral("The report is missing or not a JSON record."));
        }
        QJsonObject report = document.object();
        report.insert(QStringLiteral("attachments"), m_attachments);
        const QByteArray json = QJsonDocument(report).toJson();
        PartFile file(m_folder);
        file.write({json.constData(), static_cast<std::size_t>(json.size())});
        const QString path = m_folder + QStringLiteral("/report.json");
        file.moveTo(path);
        syncFile(path);
        syncFolder(m_folder);
    }

private:
    const QString m_folder;
    std::string m_name;
    QByteArray m_report;
    QString m_fileName;
    std::unique_ptr<PartFile> m_attachment;
    QJsonArray m_attachments;
};

void receiveInto(const QString &folder, Exchange &exchange, const std::string &boundary)
{
    ReportReceiver receiver(folder);
    MultipartParser parser(boundary, receiver);
    const BodyResult result = exchange.readBody([&parser](std::string_view bytes) {
        parser.feed(bytes);
        return true;
    });
    if (result != BodyResult::complete) {
        throw badReport(QStringLiteral("The report did not arrive whole."));
    }
    parser.finish();
    receiver.finish();
}

} // namespace

void receiveBugReport(Exchange &exchange, const QString &reportsFolder)
{
    const MediaType type = parseMediaType(exchange.header("Content-Type"));
    if (type.name != "multipart/form-data") {
        throw HttpProblem(
            415, ProblemKind::badRequest, QStringLiteral("A bug report is sent as multipart/form-data."));
    }
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QString folder = reportsFolder + u'/' + id;
    QDir().mkpath(folder);
    try {
        receiveInto(folder, exchange, type.parameter("boundary"));
        syncFolder(reportsFolder);
    } catch (const MultipartError &error) {
        QDir(folder).removeRecursively();
        throw badReport(QString::fromUtf8(error.what()));
    } catch (...) {
        QDir(folder).removeRecursively();
        throw;
    }
    answerJson(exchange, 201, QJsonObject{{QStringLiteral("id"), id}});
}

} // namespace gateway::cloud
