#include "cloud_client/archive_trial.h"

#include "cloud_client/archive_session.h"
#include "cloud_client/qrn_delete_api.h"
#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/sample_instance.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>

#include <array>
#include <memory>

namespace gateway::cloud_client {

namespace {

using Outcome = TrialStep::Outcome;
using namespace std::chrono_literals;

// An archive may store later than it answers; what takes longer is hardly the same thing.
constexpr std::array<std::chrono::seconds, 6> kPausesBeforeQueries{0s, 1s, 2s, 4s, 8s, 15s};

constexpr qint64 kMostReturned = 1 << 20;
constexpr int kDaysToWarn = 30;

QString wordsOf(const std::exception &error)
{
    const QString words = userFacingMessage(error, QString());
    return words.isEmpty() ? QCoreApplication::translate("Archive", "The archive refused it without a word.")
                           : words;
}

/// True where the next try would end in the same way, so that something follows from it.
bool isLasting(const std::exception &error)
{
    const auto *failure = dynamic_cast<const AFError *>(&error);
    const bool isPage =
        failure != nullptr && !failure->responseCode && failure->noAnswer == NoAnswer::unusableAnswer;
    return isPage || !isOfThisMoment(error);
}

const QString kFolderPattern = QStringLiteral("archive-test-");

/// Removes what a trial left that was killed.
void sweepSamples(const QString &folder)
{
    const QStringList left = QDir(folder).entryList({kFolderPattern + u'*'}, QDir::Dirs | QDir::NoSymLinks);
    for (const QString &name : left) {
        QDir(folder + u'/' + name).removeRecursively();
    }
}

QStringList addressesOf(const QString &host)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    QStringList addresses;
    if (::getaddrinfo(host.toUtf8().constData(), nullptr, &hints, &found) != 0) {
        return addresses;
    }
    for (const addrinfo *one = found; one != nullptr; one = one->ai_next) {
        std::array<char, NI_MAXHOST> name{};
        if (::getnameinfo(
                one->ai_addr, one->ai_addrlen, name.data(), name.size(), nullptr, 0, NI_NUMERICHOST) == 0) {
            addresses.append(QString::fromLatin1(name.data()));
        }
    }
    ::freeaddrinfo(found);
    return addresses;
}

/// True where an archive, or what stands before it, says by a status that it took nothing. A fault, or a wait
/// that became too long, says nothing of what has arrived.
bool isRefusal(const std::exception &error)
{
    constexpr int kRequestTimeout = 408;
    const std::optional<int> status = statusOf(error);
    return status && *status >= 300 && *status < 500 && *status != kRequestTimeout;
}

/// Whose certificate it is and until when it is good.
TrialStep certificateStep(const QString &step, const HttpResponse &response, const QDateTime &now)
{
    const std::optional<CertificateFacts> facts = factsOf(response.serverCertificate);
    if (!facts) {
        return {step,
                Outcome::good,
                QCoreApplication::translate("Archive", "The server at %1 answers.").arg(response.host)};
    }
    const qint64 days = now.daysTo(facts->notAfter);
    const QString words =
        QCoreApplication::translate("Archive",
                                    "The server at %1 shows the certificate of %2 by %3, good until %4.")
            .arg(response.host, facts->name, facts->issuer, facts->notAfter.toString(Qt::ISODate));
    return days >= kDaysToWarn
               ? TrialStep{step, Outcome::good, words}
               : TrialStep{step,
                           Outcome::remark,
                           words +
                               QCoreApplication::translate("Archive",
                                                           " Have it renewed in the next days: uploads wait "
                                                           "once it has ended.")};
}

} // namespace

QList<TrialStep> ArchiveTrial::run(const std::stop_token &stop) const
{
    QList<TrialStep> steps{lookUpName()};
    if (steps.last().outcome == Outcome::failed) {
        return steps;
    }
    steps.append(connect());
    if (steps.last().outcome == Outcome::failed || stop.stop_requested()) {
        return steps;
    }
    steps += signIn();
    if (steps.last().outcome != Outcome::failed && !stop.stop_requested()) {
        steps += tryImage(stop);
    }
    return steps;
}

TrialStep ArchiveTrial::lookUpName() const
{
    const auto step = QStringLiteral("name");
    const QString host = m_client.configuration().baseUrl.host();
    if (!m_client.configuration().proxy.isEmpty()) {
        return {step,
                Outcome::good,
                QCoreApplication::translate("Archive", "A web proxy looks up %1.").arg(host)};
    }
    const QStringList addresses = addressesOf(host);
    if (addresses.isEmpty()) {
        return {
            step,
            Outcome::failed,
            QCoreApplication::translate(
                "Archive",
                "The name %1 isn't known to this network. Check the archive's address, and this computer's "
                "name service.")
                .arg(host)};
    }
    return {step,
            Outcome::good,
            QCoreApplication::translate("Archive", "%1 is at %2.")
                .arg(host, addresses.join(QStringLiteral(", ")))};
}

TrialStep ArchiveTrial::connect() const
{
    const auto step = QStringLiteral("connection");
    try {
        ApiCall call;
        call.service = ApiCall::Service::store;
        call.path = "/studies?limit=1";
        call.accept = "application/dicom+json";
        call.authorized = false;
        call.answerLimit = kLargeAnswer;
        call.wantsCertificate = true;
        return certificateStep(step, m_client.send(call), m_clock.now());
    } catch (const std::exception &error) {
        return {step, Outcome::failed, wordsOf(error)};
    }
}

QList<TrialStep> ArchiveTrial::signIn() const
{
    const auto step = QStringLiteral("sign-in");
    const std::optional<QString> session = m_client.networkSettings().token();
    if (!session) {
        return {{step,
                 Outcome::failed,
                 QCoreApplication::translate("Archive", "Nobody is signed in. Sign in first.")}};
    }
    const ArchiveSignIn signIn = archiveSignIn(*session);
    std::optional<QString> issue = issueWith(signIn);
    if (!issue) {
        issue = issueWith(signIn.certificate, m_clock.now());
    }
    if (issue) {
        return {{step, Outcome::failed, *issue}};
    }
    try {
        const ArchiveAnswer answer = askArchive(m_client, signIn);
        const TrialStep good{step,
                             Outcome::good,
                             QCoreApplication::translate("Archive", "The archive takes the sign-in as %1.")
                                 .arg(signInLabel(signIn))};
        switch (answer.meaning) {
        case ArchiveAnswer::Meaning::found:
            return {good,
                    {QStringLiteral("query"),
                     Outcome::good,
                     QCoreApplication::translate("Archive", "The archive answers queries.")}};
        case ArchiveAnswer::Meaning::queryRefused:
            return {{QStringLiteral("query"),
                     Outcome::remark,
                     QCoreApplication::translate(
                         "Archive",
                         "The archive answers no queries (status %1). Uploads are proven by its answers "
                         "alone, and the windows can't show what it holds; ask whoever runs it to permit "
                         "queries.")
                         .arg(answer.status)}};
        case ArchiveAnswer::Meaning::signInWanted:
            break;
        }
        return {
            {step,
             Outcome::failed,
             QCoreApplication::translate(
                 "Archive", "The archive refuses the sign-in as %1 (status %2). Sign in with what it knows.")
                 .arg(signInLabel(signIn))
                 .arg(answer.status)}};
    } catch (const std::exception &error) {
        return {{step, Outcome::failed, wordsOf(error)}};
    }
}

QList<TrialStep> ArchiveTrial::tryImage(const std::stop_token &stop) const
{
    QDir().mkpath(m_folder);
    sweepSamples(m_folder);
    const QTemporaryDir folder(m_folder + u'/' + kFolderPattern + QStringLiteral("XXXXXX"));
    const SampleInstance sample = makeSampleInstance(m_clock.now());
    QList<TrialStep> steps{store(sample, folder.filePath(QStringLiteral("sent.dcm")))};
    if (steps.last().outcome == Outcome::failed) {
        return steps;
    }
    const bool mayComeLater = steps.last().outcome == Outcome::remark;
    const std::optional<TrialStep> found = find(sample.identity, stop);
    steps.append(found.value_or(notFound(mayComeLater)));
    if (found || !mayComeLater) { // what isn't there yet says nothing of how it would come back
        steps.append(readBack(sample, folder.filePath(QStringLiteral("returned.dcm"))));
    }
    steps.append(remove(sample.identity.study, found.has_value()));
    return steps;
}

TrialStep ArchiveTrial::store(const SampleInstance &sample, const QString &path) const
{
    const auto step = QStringLiteral("store");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(sample.file) != sample.file.size() || !file.flush()) {
        return {step,
                Outcome::failed,
                QCoreApplication::translate("Archive", "This computer can't write a temporary file.")};
    }
    try {
        QrnStowAPI(m_client).upload(m_client.session(),
                                    StowFile{QUrl::fromLocalFile(path), sample.identity},
                                    m_client.configuration().deviceId,
                                    {});
        return {step,
                Outcome::good,
                QCoreApplication::translate("Archive", "The archive says that it has stored the sample.")};
    } catch (const QrnStowResponse &refusal) {
        const platform::InstanceUid &instance = sample.identity.instance;
        if (refusal.taken.contains(instance)) {
            return {step,
                    Outcome::remark,
                    QCoreApplication::translate(
                        "Archive", "The archive has taken the sample, and stores later than it answers.")};
        }
        if (!refusal.reasons.contains(instance)) {
            return {step,
                    Outcome::failed,
                    QCoreApplication::translate(
                        "Archive",
                        "The archive says that it took the sample, and neither its answer nor a query shows "
                        "that it keeps it. Ask whoever runs it to permit queries for instances.") +
                        takeBack(sample)};
        }
        return {step,
                Outcome::failed,
                QCoreApplication::translate(
                    "Archive",
                    "The archive doesn't name the sample as stored (reason %1). Ask whoever runs it for "
                    "the right to store, and for secondary captures to be taken.")
                    .arg(refusal.code)};
    } catch (const std::exception &error) {
        return {step, Outcome::failed, wordsOf(error) + (isRefusal(error) ? QString() : takeBack(sample))};
    }
}

/// Deletes a sample of which nobody knows whether it arrived. \return what to add where that isn't sure,
/// either.
QString ArchiveTrial::takeBack(const SampleInstance &sample) const
{
    try {
        QrnDeleteAPI(m_client).deleteStudy(sample.identity.study.value(), m_client.configuration().deviceId);
        return {};
    } catch (const std::exception &) {
        return QCoreApplication::translate(
                   "Archive",
                   " The archive may hold the sample all the same, under the patient GATEWAY-TEST, as "
                   "study %1.")
            .arg(sample.identity.study.value());
    }
}

/// \return nothing where queries are answered, and don't find it for as long as is waited.
std::optional<TrialStep> ArchiveTrial::find(const platform::InstanceIdentity &identity,
                                            const std::stop_token &stop) const
{
    const auto step = QStringLiteral("find");
    std::chrono::seconds waited{0};
    std::optional<TrialStep> trouble;
    for (const std::chrono::seconds pause : kPausesBeforeQueries) {
        waited += pause;
        if (pause > 0s && !m_clock.sleep(pause, stop)) {
            break;
        }
        trouble.reset();
        try {
            if (QrnStowAPI(m_client).isFound(m_client.session(), identity)) {
                return waited == 0s
                           ? TrialStep{step,
                                       Outcome::good,
                                       QCoreApplication::translate("Archive", "A query finds the sample.")}
                           : TrialStep{step,
                                       Outcome::remark,
                                       QCoreApplication::translate(
                                           "Archive",
                                           "A query finds the sample only after %1 seconds; the "
                                           "archive stores later than it answers.")
                                           .arg(waited.count())};
            }
        } catch (const std::exception &error) {
            trouble = TrialStep{step, Outcome::remark, wordsOf(error)};
            if (isLasting(error)) {
                trouble->words += QCoreApplication::translate(
                    "Archive",
                    " So a sample can't be looked for; uploads are proven by the archive's answers alone.");
                return trouble;
            }
        }
    }
    return trouble;
}

TrialStep ArchiveTrial::notFound(bool mayComeLater)
{
    const auto step = QStringLiteral("find");
    if (mayComeLater) {
        return {step,
                Outcome::remark,
                QCoreApplication::translate(
                    "Archive",
                    "No query finds the sample yet. So images count as uploaded only once one does; each "
                    "waits here for it.")};
    }
    return {step,
            Outcome::failed,
            QCoreApplication::translate(
                "Archive",
                "The archive said that it has stored the sample, and no query finds it. Ask whoever runs "
                "it where images of new patients go.")};
}

TrialStep ArchiveTrial::readBack(const SampleInstance &sample, const QString &path) const
{
    const auto step = QStringLiteral("read back");
    try {
        QrnStowAPI(m_client).retrieve(m_client.session(), sample.identity, path, kMostReturned);
    } catch (const std::exception &error) {
        const QString consequence =
            isLasting(error) ? QCoreApplication::translate(
                                   "Archive",
                                   " So a corrected image, of which the archive may keep another version, "
                                   "can't be compared and stays here as notComparable.")
                             : QString();
        return {step, Outcome::remark, wordsOf(error) + consequence};
    }
    QFile file(path);
    const bool isSame = file.open(QIODevice::ReadOnly) && file.readAll().endsWith(sample.dataset);
    return isSame ? TrialStep{step,
                              Outcome::good,
                              QCoreApplication::translate("Archive", "The sample comes back as it was sent.")}
                  : TrialStep{step,
                              Outcome::remark,
                              QCoreApplication::translate(
                                  "Archive",
                                  "The sample comes back changed: the archive rewrites what it is sent. So "
                                  "a second version of an image may not be told from the first, and stays "
                                  "here.")};
}

/// \param wasThere  it was found, or can't be looked for.
TrialStep ArchiveTrial::remove(const platform::StudyUid &study, bool wasThere) const
{
    const auto step = QStringLiteral("delete");
    try {
        QrnDeleteAPI(m_client).deleteStudy(study.value(), m_client.configuration().deviceId);
        if (!wasThere) {
            return {
                step,
                Outcome::remark,
                QCoreApplication::translate("Archive",
                                            "The archive was asked to delete the sample. Where it comes "
                                            "later it stays, under the patient GATEWAY-TEST, as study %1.")
                    .arg(study.value())};
        }
        return {step, Outcome::good, QCoreApplication::translate("Archive", "The sample is deleted again.")};
    } catch (const std::exception &error) {
        const QString consequence =
            isLasting(error)
                ? QCoreApplication::translate("Archive",
                                              " So nothing there can be deleted from here; the sample stays, "
                                              "under the patient GATEWAY-TEST, as study %1.")
                : QCoreApplication::translate(
                      "Archive", " The sample stays, under the patient GATEWAY-TEST, as study %1.");
        return {step, Outcome::remark, wordsOf(error) + consequence.arg(study.value())};
    }
}

} // namespace gateway::cloud_client
