#include "cloud/service/stow.h"

#include "cloud/dicom/attributes.h"
#include "cloud/dicom/dicom_json.h"
#include "cloud/http/exchange.h"
#include "cloud/http/multipart_parser.h"
#include "cloud/http/problem.h"
#include "cloud/http/text.h"
#include "cloud/service/json_answers.h"

#include <cstdio>
#include <system_error>

namespace gateway::cloud {

namespace {

// Values of FailureReason (PS3.18, section 10.5.3.2; PS3.4, annex GG).
constexpr int kOutOfResources = 0xA700;
constexpr int kStudyDiffers = 0xA900;
constexpr int kCannotUnderstand = 0xC000;
constexpr int kAlreadyStored = 45070; // by custom of archives

constexpr std::int64_t kBytesPerKb = 1024;

struct Failure
{
    QString sopClassUid;
    QString sopInstanceUid;
    int reason = 0;
};

HttpProblem allowanceUsedUp()
{
    return {507, ProblemKind::allowanceUsedUp, QStringLiteral("The storage allowance is used up.")};
}

HttpProblem tooLarge()
{
    return {413, ProblemKind::badRequest, QStringLiteral("The upload is too large.")};
}

/// Receives the parts of one upload. What was placed and not committed is discarded with it.
class PartReceiver final : public MultipartSink
{
public:
    PartReceiver(InstanceStore &store, FaultPlan &faults, std::optional<QString> studyUid)
        : m_store(store), m_faults(faults), m_studyUid(std::move(studyUid))
    {
    }

    ~PartReceiver() override { m_store.discard(m_placed); }

    PartReceiver(const PartReceiver &) = delete;
    PartReceiver &operator=(const PartReceiver &) = delete;

    void partBegan(const PartHeaders &headers) override
    {
        const auto found = headers.find("content-type");
        const std::string type =
            parseMediaType(found == headers.end() ? "application/dicom" : found->second).name;
        if (type != "application/dicom") {
            throw HttpProblem(415,
                              ProblemKind::badRequest,
                              QStringLiteral("Only parts of type application/dicom are taken."));
        }
        try {
            m_part = m_store.newPart();
        } catch (const std::system_error &error) {
            outOfResources(error);
        }
    }

    void partData(std::string_view bytes) override
    {
        if (!m_part) {
            return;
        }
        try {
            m_part->write(bytes);
        } catch (const std::system_error &error) {
            outOfResources(error);
        }
    }

    void partEnded() override
    {
        if (!m_part) {
            return;
        }
        try {
            takePlaced(m_store.place(*m_part));
        } catch (const DicomFormatError &) {
            m_failures.push_back({{}, {}, kCannotUnderstand});
        } catch (const std::system_error &error) {
            outOfResources(error);
        }
        m_part.reset();
    }

    /// Makes what arrived durable and known. \return the instances that are to be named as stored.
    std::vector<NewInstance> commit()
    {
        std::vector<NewInstance> named = std::exchange(m_placed, {});
        if (!named.empty()) {
            m_store.commit(named);
        }
        named.insert(named.end(), m_dropped.begin(), m_dropped.end());
        return named;
    }

    const std::vector<Failure> &failures() const { return m_failures; }

private:
    void takePlaced(const NewInstance &instance)
    {
        const QString sopInstance = instance.summary.value(kSopInstanceUid);
        std::optional<int> refusal = m_faults.takeRefusal(sopInstance);
        if (m_studyUid && instance.summary.value(kStudyInstanceUid) != *m_studyUid) {
            refusal = kStudyDiffers;
        }
        const SecondVersion fate = m_faults.secondVersion();
        if (!refusal && fate != SecondVersion::replaces &&
            !m_store.index().instances(placeOf(instance.summary)).empty()) {
            if (fate == SecondVersion::isDropped) {
                m_dropped.push_back(instance);
                m_store.discard({instance});
                return;
            }
            refusal = kAlreadyStored;
        }
        if (!refusal) {
            m_placed.push_back(instance);
            return;
        }
        m_failures.push_back({instance.summary.value(kSopClassUid), sopInstance, *refusal});
        m_store.discard({instance});
    }

    void outOfResources(const std::system_error &error)
    {
        std::fprintf(stderr, "an instance can't be kept: %s\n", error.what());
        m_failures.push_back({{}, {}, kOutOfResources});
        m_part.reset();
    }

    InstanceStore &m_store;
    FaultPlan &m_faults;
    const std::optional<QString> m_studyUid;
    std::unique_ptr<PartFile> m_part;
    std::vector<NewInstance> m_placed;
    std::vector<NewInstance> m_dropped; // second versions; their files are gone
    std::vector<Failure> m_failures;
};

/// How many bytes an upload may have.
class Limits
{
public:
    Limits(const ServiceRules &rules, std::int64_t used)
        : m_maxBody(rules.maxBodyBytes), m_free(rules.allowanceKb * kBytesPerKb - used)
    {
    }

    /// \throws HttpProblem
    void check(std::uint64_t bodyBytes) const
    {
        const auto bytes = static_cast<std::int64_t>(bodyBytes);
        if (m_maxBody && bytes > *m_maxBody) {
            throw tooLarge();
        }
        if (bytes > m_free) {
            throw allowanceUsedUp();
        }
    }

private:
    const std::optional<std::int64_t> m_maxBody;
    const std::int64_t m_free;
};

std::string boundaryOf(const Exchange &exchange)
{
    const MediaType type = parseMediaType(exchange.header("Content-Type"));
    const std::string parts = lowerCase(type.parameter("type"));
    if (type.name != "multipart/related" || (!parts.empty() && parts != "application/dicom")) {
        throw HttpProblem(415,
                          ProblemKind::badRequest,
                          QStringLiteral("An upload is sent as multipart/related of application/dicom."));
    }
    return type.parameter("boundary");
}

void receiveParts(Exchange &exchange, PartReceiver &receiver, const Limits &limits)
{
    try {
        MultipartParser parser(boundaryOf(exchange), receiver);
        std::uint64_t received = 0;
        const BodyResult result = exchange.readBody([&](std::string_view bytes) {
            received += bytes.size();
            limits.check(received);
            parser.feed(bytes);
            return true;
        });
        if (result != BodyResult::complete) {
            throw HttpProblem(
                400, ProblemKind::badRequest, QStringLiteral("The upload did not arrive whole."));
        }
        parser.finish();
    } catch (const MultipartError &error) {
        throw HttpProblem(400, ProblemKind::badRequest, QString::fromUtf8(error.what()));
    }
}

QJsonObject sequence(const QJsonArray &items)
{
    return {{QStringLiteral("vr"), QStringLiteral("SQ")}, {QStringLiteral("Value"), items}};
}

QJsonObject reference(const QString &sopClass, const QString &sopInstance)
{
    return {{QStringLiteral("00081150"), jsonFromText("UI", sopClass)},
            {QStringLiteral("00081155"), jsonFromText("UI", sopInstance)}};
}

QJsonObject answerDataset(const std::string &studiesUrl,
                          const std::vector<NewInstance> &stored,
                          const std::vector<Failure> &failures)
{
    QJsonArray references;
    const QString base = QString::fromStdString(studiesUrl) + u'/';
    for (const NewInstance &instance : stored) {
        const DicomSummary &summary = instance.summary;
        const auto named = [&summary](std::uint32_t tag) { return addressSegment(summary.value(tag)); };
        QJsonObject item = reference(summary.value(kSopClassUid), summary.value(kSopInstanceUid));
        const QString url = base + named(kStudyInstanceUid) + QStringLiteral("/series/") +
                            named(kSeriesInstanceUid) + QStringLiteral("/instances/") +
                            named(kSopInstanceUid);
        item.insert(QStringLiteral("00081190"), jsonFromText("UR", url));
        references.append(item);
    }
    QJsonArray failed;
    for (const Failure &failure : failures) {
        QJsonObject item = reference(failure.sopClassUid, failure.sopInstanceUid);
        item.insert(QStringLiteral("00081197"), jsonFromText("US", QString::number(failure.reason)));
        failed.append(item);
    }
    QJsonObject dataset;
    if (!stored.empty()) {
        const QString study = stored.front().summary.value(kStudyInstanceUid);
        dataset.insert(QStringLiteral("00081190"), jsonFromText("UR", base + addressSegment(study)));
        dataset.insert(QStringLiteral("00081199"), sequence(references));
    }
    if (!failed.isEmpty()) {
        dataset.insert(QStringLiteral("00081198"), sequence(failed));
    }
    return dataset;
}

} // namespace

void receiveInstances(Exchange &exchange,
                      InstanceStore &store,
                      FaultPlan &faults,
                      const ServiceRules &rules,
                      const std::optional<QString> &studyUid)
{
    const Limits limits(rules, store.index().totals().bytes);
    limits.check(exchange.contentLength().value_or(0));
    PartReceiver receiver(store, faults, studyUid);
    receiveParts(exchange, receiver, limits);
    const std::vector<NewInstance> stored = receiver.commit();
    if (stored.empty() && receiver.failures().empty()) {
        throw HttpProblem(400, ProblemKind::badRequest, QStringLiteral("The upload holds no instance."));
    }
    const int partial = stored.empty() ? 409 : 202;
    answerDicomJson(exchange,
                    receiver.failures().empty() ? 200 : partial,
                    answerDataset(exchange.origin() + "/dicom-web/studies", stored, receiver.failures()));
}

} // namespace gateway::cloud
