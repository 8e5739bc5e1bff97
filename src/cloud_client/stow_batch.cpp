#include "cloud_client/stow_batch.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/stow_query.h"

#include <algorithm>
#include <utility>

namespace gateway::cloud_client {

namespace {

const auto kReferencedSequence = QStringLiteral("00081199");
const auto kReferencedInstance = QStringLiteral("00081155");
const auto kWarningReason = QStringLiteral("00081196");
constexpr int kAlreadyStored = 45070;
constexpr int kTooLarge = 413;
constexpr int kConflict = 409;
constexpr int kProcessingFailure = 0x0110; // PS3.7 C.5.21: it says no more than that it went wrong

QVariant firstValue(const QVariant &attribute)
{
    return attribute.toMap().value(QStringLiteral("Value")).toList().value(0);
}

/// Statuses under which a server settles instances one by one: good ones, and those of PS3.18 10.5.3 by
/// which it says that it took not one of them.
bool maySettle(int status)
{
    return (status >= 200 && status < 300) || status == 400 || status == 409;
}

/// True where the service itself says what holds for all that it is asked, or the session is over.
bool isOfTheSession(const QuorinError &error)
{
    if (const auto *response = dynamic_cast<const QrnErrorResponse *>(&error)) {
        return response->kind == QrnErrorKind::sessionInvalid ||
               response->kind == QrnErrorKind::termsNotAccepted;
    }
    const auto *failure = dynamic_cast<const AFError *>(&error);
    return failure != nullptr && !failure->responseCode && failure->noAnswer == NoAnswer::sessionOver;
}

/// Success without a dataset: the server has taken all of it, and may still be storing. A page says nothing
/// of that.
bool mayStoreLater(const HttpResponse &response)
{
    constexpr int kAccepted = 202;
    const bool isPage = response.contentType.contains("html");
    return !isPage && (response.status == kAccepted || response.body.trimmed().isEmpty());
}

QVariantMap attribute(const QString &representation, const QVariantList &values)
{
    return {{QStringLiteral("vr"), representation}, {QStringLiteral("Value"), values}};
}

} // namespace

StowBatch::StowBatch(QuorinApiClient &client,
                     CloudSession session,
                     const QList<StowFile> &files,
                     QString deviceId,
                     UploadProgressCallback progress)
    : m_client(client), m_session(std::move(session)), m_deviceId(std::move(deviceId)),
      m_progress(std::move(progress))
{
    for (const StowFile &given : files) {
        m_files.append(examine(given));
    }
}

StowBatch::File StowBatch::examine(const StowFile &given)
{
    File file;
    file.path = given.url.toLocalFile();
    file.identity = given.identity;
    const std::optional<ReadableFile> opened = ReadableFile::open(file.path);
    if (!opened || file.identity.instance.isEmpty()) {
        return file;
    }
    file.isReadable = true;
    // Without the optional transfer-syntax parameter (PS3.18 8.7.3): the file says it itself, and there are
    // archives that refuse a part with it.
    file.part = {"Content-Type: application/dicom\r\n", {}, file.path, opened->identity()};
    return file;
}

QVariantMap StowBatch::run()
{
    Files sendable;
    for (File &file : m_files) {
        if (file.isReadable) {
            sendable.append(&file);
        }
    }
    send(sendable);
    return outcome();
}

void StowBatch::send(Files files)
{
    if (files.isEmpty() || m_isUnreachable) {
        return;
    }
    const std::optional<HttpResponse> response = attempt(files);
    if (!response) {
        return;
    }
    if (response->status == kTooLarge && files.size() > 1) {
        sendInHalves(files);
        return;
    }
    settle(files, *response);
}

void StowBatch::sendInHalves(const Files &files)
{
    const qsizetype half = files.size() / 2;
    send(files.first(half));
    send(files.sliced(half));
}

std::optional<HttpResponse> StowBatch::attempt(Files &files)
{
    while (!files.isEmpty()) {
        QList<BodyPart> parts;
        for (const File *file : files) {
            parts.append(file->part);
        }
        MultipartBody body(parts);
        m_total = std::max(m_total, body.size());
        const RequestExtent extent{body.size(), files.size()};
        if (files.size() > 1 && m_client.requestLimit().isReachedBy(extent)) {
            HttpResponse known;
            known.status = kTooLarge; // as it would say again
            return known;
        }
        try {
            HttpResponse response = post(body);
            if (response.status == kTooLarge) {
                m_client.requestLimit().refused(extent);
            } else {
                if (response.isSuccess()) {
                    m_client.requestLimit().taken(extent);
                }
                m_settledBytes += body.size();
            }
            return response;
        } catch (const FileChanged &changed) {
            files.removeAt(changed.part());
        } catch (const QuorinError &) {
            m_isUnreachable = true;
            keepFirst(std::current_exception());
            return std::nullopt;
        }
    }
    return std::nullopt;
}

HttpResponse StowBatch::post(MultipartBody &body)
{
    ApiCall call;
    call.service = ApiCall::Service::store;
    call.method = "POST";
    call.path = "/studies";
    call.accept = "application/dicom+json";
    call.contentType = "multipart/related; type=\"application/dicom\"; boundary=" + body.boundary();
    call.stream = &body;
    call.within = m_session;
    call.deviceId = m_deviceId;
    call.isBrief = false;
    if (m_progress) {
        call.progress = [this](const UploadProgress &progress) { report(progress); };
    }
    return m_client.send(call);
}

void StowBatch::settle(const Files &files, const HttpResponse &response)
{
    const std::optional<StowAnswer> answer =
        maySettle(response.status) ? parseStowAnswer(response.contentType, response.body) : std::nullopt;
    if (answer) {
        m_wasSettled = true;
        apply(files, *answer);
        if (response.status == kConflict) {
            lookForUntold(files);
        }
    } else if (response.isSuccess()) {
        m_wasSettled = true;
        proveByQuery(files, mayStoreLater(response));
    } else if (response.status == kConflict) {
        settleConflict(files, response);
    } else {
        keepRefusal(response);
    }
}

void StowBatch::keepRefusal(const HttpResponse &response)
{
    try {
        throwAnswerError(response);
    } catch (const QuorinError &) {
        keepFirst(std::current_exception());
    }
}

/// Some archives say no more than this of instances that they have already, and others by it that they store
/// none. A query tells which are there. That proves none: nobody said that it is ours.
void StowBatch::settleConflict(const Files &files, const HttpResponse &response)
{
    keepRefusal(response);
    try {
        for (File *file : files) {
            file->isFound = isInstanceFound(m_client, m_session, file->identity);
            m_wasSettled = m_wasSettled || file->isFound;
        }
    } catch (const QuorinError &) {
        return; // the refusal stands
    }
}

/// The same where the dataset of a conflict gives no reason of which an instance's fate can be read.
void StowBatch::lookForUntold(const Files &files)
{
    try {
        for (File *file : files) {
            const bool isTold = file->isProven || file->wasThere ||
                                file->reason.value_or(kProcessingFailure) != kProcessingFailure;
            file->isFound = !isTold && isInstanceFound(m_client, m_session, file->identity);
        }
    } catch (const QuorinError &) {
        return; // the refusals stand
    }
}

void StowBatch::apply(const Files &files, const StowAnswer &answer)
{
    QSet<platform::InstanceUid> ours;
    for (File *file : files) {
        ours.insert(file->identity.instance);
        for (const StowReference &reference : answer.referenced) {
            if (reference.names(file->identity)) {
                file->isProven = true;
                file->wasThere = file->wasThere || reference.isAlreadyStored();
            }
        }
    }
    // Last, so that an instance named both ways counts as refused.
    for (const StowRefusal &refusal : answer.refused) {
        if (!refusal.isAlreadyStored() && !ours.contains(refusal.sopInstanceUid)) {
            m_strangers.append(refusal);
        }
        for (File *file : files) {
            if (file->identity.instance != refusal.sopInstanceUid) {
                continue;
            }
            if (refusal.isAlreadyStored()) {
                file->isProven = file->isProven || !file->reason;
                file->wasThere = true;
            } else {
                file->isProven = false;
                file->reason = refusal.reason;
            }
        }
    }
}

void StowBatch::proveByQuery(const Files &files, bool mayStoreLater)
{
    try {
        for (File *file : files) {
            file->isProven = isInstanceFound(m_client, m_session, file->identity);
            file->isTaken = !file->isProven && mayStoreLater;
        }
    } catch (const QuorinError &error) {
        // Whoever wasn't asked for isn't proven, and no more: the upload itself was answered. One unanswered
        // question is enough, a thousand more would each wait as long.
        if (isOfTheSession(error)) {
            keepFirst(std::current_exception());
        } else if (mayStoreLater && isOfThisMoment(error)) {
            for (File *file : files) {
                file->isTaken = !file->isProven; // looked for before it is sent again
            }
        }
    }
}

void StowBatch::report(const UploadProgress &progress)
{
    const qint64 done = std::min(m_total, m_settledBytes + progress.completedUnitCount);
    if (done > m_reported) {
        m_reported = done;
        m_progress({done, m_total});
    }
}

void StowBatch::keepFirst(const std::exception_ptr &error)
{
    if (!m_error) {
        m_error = error;
    }
}

QVariantMap StowBatch::outcome() const
{
    QList<QStringList> failures;
    QHash<platform::InstanceUid, int> reasons;
    int reason = 0;
    bool isAnyProven = false;
    for (const File &file : m_files) {
        isAnyProven = isAnyProven || file.isProven;
        if (!file.isProven) {
            failures.append(file.isReadable ? QStringList{file.identity.instance.value(), file.path}
                                            : QStringList{file.path});
            if (file.reason) {
                reasons.insert(file.identity.instance, *file.reason);
            }
            reason = reason == 0 ? file.reason.value_or(0) : reason;
        }
    }
    const bool isAnyOfOursUnproven = !failures.isEmpty();
    for (const StowRefusal &stranger : m_strangers) {
        reason = reason == 0 ? stranger.reason.value_or(0) : reason;
        if (!stranger.sopInstanceUid.isEmpty()) {
            failures.append(QStringList{stranger.sopInstanceUid.value()});
        } else if (!isAnyOfOursUnproven) {
            failures.append(QStringList{});
        } // else it means one of ours: a server that can't read an instance can't name it either
    }
    if (failures.isEmpty()) {
        return provenInstances();
    }
    if (!isAnyProven && !m_wasSettled) {
        if (m_error) {
            std::rethrow_exception(m_error);
        }
        throw AFError(QStringLiteral("The file can't be sent: it can't be read, or changed while it was "
                                     "being sent."),
                      std::nullopt,
                      0,
                      NoAnswer::unusableFile);
    }
    throw QrnStowResponse(
        failures, reason, reasons, m_error, alreadyStored(), those(&File::isTaken), those(&File::isFound));
}

QSet<platform::InstanceUid> StowBatch::those(bool File::*mark) const
{
    QSet<platform::InstanceUid> instances;
    for (const File &file : m_files) {
        if (file.*mark) {
            instances.insert(file.identity.instance);
        }
    }
    return instances;
}

QSet<platform::InstanceUid> StowBatch::alreadyStored() const
{
    QSet<platform::InstanceUid> instances;
    for (const File &file : m_files) {
        if (file.isProven && file.wasThere) {
            instances.insert(file.identity.instance);
        }
    }
    return instances;
}

QVariantMap StowBatch::provenInstances() const
{
    QVariantList items;
    for (const File &file : m_files) {
        QVariantMap item{
            {kReferencedInstance, attribute(QStringLiteral("UI"), {file.identity.instance.value()})}};
        if (file.wasThere) {
            item.insert(kWarningReason, attribute(QStringLiteral("US"), {kAlreadyStored}));
        }
        items.append(item);
    }
    return {{kReferencedSequence, attribute(QStringLiteral("SQ"), items)}};
}

QSet<platform::InstanceUid> alreadyStoredIn(const QVariantMap &proven)
{
    QSet<platform::InstanceUid> instances;
    const QVariantList items =
        proven.value(kReferencedSequence).toMap().value(QStringLiteral("Value")).toList();
    for (const QVariant &entry : items) {
        const QVariantMap item = entry.toMap();
        if (item.contains(kWarningReason)) {
            instances.insert(platform::InstanceUid(firstValue(item.value(kReferencedInstance)).toString()));
        }
    }
    return instances;
}

} // namespace gateway::cloud_client
