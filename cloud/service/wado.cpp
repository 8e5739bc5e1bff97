#include "cloud/service/wado.h"

#include "cloud/dicom/attributes.h"
#include "cloud/dicom/dataset.h"
#include "cloud/dicom/dicom_json.h"
#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"
#include "cloud/http/text.h"
#include "cloud/service/json_answers.h"
#include "cloud/store/mapped_file.h"
#include "cloud/store/secrets.h"

#include <memory>
#include <system_error>

namespace gateway::cloud {

namespace {

// Pieces of this size keep a throttled or broken connection from holding on to much.
constexpr std::size_t kPiece = 1024 * 1024;

/// Gives a multipart body of stored files, piece by piece.
class MultipartSource
{
public:
    MultipartSource(const InstanceStore &store, std::vector<StoredInstance> instances, std::string boundary)
        : m_store(store), m_instances(std::move(instances)), m_boundary(std::move(boundary))
    {
    }

    std::uint64_t length() const
    {
        std::uint64_t sum = ending().size();
        for (const StoredInstance &instance : m_instances) {
            sum += headerOf(instance).size() + static_cast<std::uint64_t>(instance.bytes);
        }
        return sum;
    }

    std::string_view next()
    {
        if (!m_left.empty()) {
            const std::string_view piece = m_left.substr(0, kPiece);
            m_left.remove_prefix(piece.size());
            return piece;
        }
        m_file.reset();
        if (m_next == m_instances.size()) {
            m_text = ending();
            return m_text;
        }
        return begin(m_instances[m_next++]);
    }

private:
    /// Opens the file, whose bytes follow the header that is given.
    std::string_view begin(const StoredInstance &instance)
    {
        try {
            m_file = std::make_unique<MappedFile>(m_store.pathOf(instance.file));
        } catch (const std::system_error &) {
            return {}; // deleted meanwhile: the answer breaks off
        }
        const Bytes bytes = m_file->bytes();
        m_left = {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
        m_text = headerOf(instance);
        return m_text;
    }

    std::string headerOf(const StoredInstance &instance) const
    {
        return "\r\n--" + m_boundary + "\r\nContent-Type: application/dicom; transfer-syntax=" +
               instance.transferSyntaxUid.toStdString() +
               "\r\nContent-Length: " + std::to_string(instance.bytes) + "\r\n\r\n";
    }

    std::string ending() const { return "\r\n--" + m_boundary + "--\r\n"; }

    const InstanceStore &m_store;
    const std::vector<StoredInstance> m_instances;
    const std::string m_boundary;
    std::size_t m_next = 0;
    std::string m_text;
    std::unique_ptr<MappedFile> m_file;
    std::string_view m_left;
};

std::vector<StoredInstance> found(const InstanceStore &store, const InstanceScope &scope)
{
    std::vector<StoredInstance> instances = store.index().instances(scope);
    if (instances.empty()) {
        throw HttpProblem(404, ProblemKind::notFound, QStringLiteral("Nothing of that is stored."));
    }
    return instances;
}

bool takesDicom(const std::string &accept)
{
    if (trimmed(accept).empty()) {
        return true;
    }
    for (const std::string &range : split(accept, ',')) {
        const MediaType type = parseMediaType(range);
        const std::string parts = lowerCase(type.parameter("type"));
        const bool multipart = type.name == "multipart/related" || type.name == "multipart/*";
        if (type.name == "*/*" || (multipart && (parts.empty() || parts == "application/dicom"))) {
            return true;
        }
    }
    return false;
}

} // namespace

void answerInstances(Exchange &exchange, const InstanceStore &store, const InstanceScope &scope)
{
    if (!takesDicom(exchange.header("Accept"))) {
        throw HttpProblem(
            406,
            ProblemKind::badRequest,
            QStringLiteral("Instances are given as multipart/related of application/dicom only."));
    }
    const std::string boundary = randomToken().toStdString();
    const auto source = std::make_shared<MultipartSource>(store, found(store, scope), boundary);
    exchange.answerLong(source->length(),
                        "multipart/related; type=\"application/dicom\"; boundary=\"" + boundary + "\"",
                        [source] { return source->next(); });
}

void answerMetadata(Exchange &exchange, const InstanceStore &store, const InstanceScope &scope)
{
    QJsonArray answer;
    for (const StoredInstance &instance : found(store, scope)) {
        const MappedFile file(store.pathOf(instance.file));
        const Dataset dataset(file.bytes());
        QJsonObject json = jsonFromDataset(dataset.bytes(), dataset.encoding());
        json.insert(jsonName(kAvailableTransferSyntaxUid), jsonFromText("UI", instance.transferSyntaxUid));
        answer.append(json);
    }
    answerDicomJson(exchange, 200, answer);
}

} // namespace gateway::cloud
