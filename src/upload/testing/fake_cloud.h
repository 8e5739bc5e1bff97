#pragma once

#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QSet>

#include <functional>
#include <vector>

namespace gateway::upload::testing {

/// A cloud in memory: keeps what it is sent, counts, and refuses on demand.
///
/// Files of these tests are named after their SOP instance UID, so that the cloud knows what it is sent
/// without reading DICOM; a converted file carries the name of its original behind a hyphen.
///
/// Thread: any.
class FakeCloud final : public cloud_client::QrnStowAPIProtocol
{
public:
    struct Request
    {
        QList<QUrl> files;
        QString deviceId;
        cloud_client::CloudSession session;
    };

    /// Refuses one instance of whatever request it comes with, by its bare UID.
    void refuse(const QString &sopInstanceUid)
    {
        const platform::MutexLock lock(m_mutex);
        m_refused.insert(sopInstanceUid);
    }

    /// Takes a refusal back.
    void accept(const QString &sopInstanceUid)
    {
        const platform::MutexLock lock(m_mutex);
        m_refused.remove(sopInstanceUid);
    }

    /// Says of this instance that it had it already.
    void claimToHave(const QString &sopInstanceUid)
    {
        const platform::MutexLock lock(m_mutex);
        m_hadBefore.insert(sopInstanceUid);
    }

    /// Fails every request with this HTTP status; 0 ends that.
    void answerWith(int status)
    {
        const platform::MutexLock lock(m_mutex);
        m_status = status;
    }

    /// Runs within each request, before anything is kept; may throw in place of an answer.
    void
    duringRequest(std::function<void(const Request &, const cloud_client::UploadProgressCallback &)> action)
    {
        const platform::MutexLock lock(m_mutex);
        m_duringRequest = std::move(action);
    }

    /// Runs within each query for an instance, before it is answered.
    void duringLook(std::function<void()> action)
    {
        const platform::MutexLock lock(m_mutex);
        m_duringLook = std::move(action);
    }

    std::vector<Request> requests() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_requests;
    }

    /// How often each instance was sent.
    QMap<QString, int> attempts() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_attempts;
    }

    bool holds(const QString &sopInstanceUid) const
    {
        const platform::MutexLock lock(m_mutex);
        return m_stored.contains(sopInstanceUid);
    }

    /// The most requests that were in flight at once.
    int mostAtOnce() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_mostAtOnce;
    }

    QVariantMap upload(const cloud_client::CloudSession &session,
                       const QList<cloud_client::StowFile> &given,
                       const QString &deviceId,
                       const cloud_client::UploadProgressCallback &progress) override
    {
        const InFlight inFlight(*this);
        QList<QUrl> files;
        for (const cloud_client::StowFile &file : given) {
            files.append(file.url);
        }
        const Request request = {files, deviceId, session};
        std::function<void(const Request &, const cloud_client::UploadProgressCallback &)> action;
        {
            const platform::MutexLock lock(m_mutex);
            action = m_duringRequest;
            m_requests.push_back(request);
            for (const QUrl &file : files) {
                ++m_attempts[uidOf(file)];
            }
        }
        if (action) {
            action(request, progress);
        }
        return keep(files);
    }

    QVariantMap upload(const cloud_client::CloudSession &session,
                       const cloud_client::StowFile &file,
                       const QString &deviceId,
                       const cloud_client::UploadProgressCallback &progress) override
    {
        return upload(session, QList<cloud_client::StowFile>{file}, deviceId, progress);
    }

    bool isWithoutStore(const cloud_client::CloudSession &) override
    {
        const platform::MutexLock lock(m_mutex);
        return m_isWithoutStore;
    }

    /// From now on nothing at its address takes images, as it says to whoever asks without one.
    void beWithoutStore()
    {
        const platform::MutexLock lock(m_mutex);
        m_isWithoutStore = true;
    }

    void retrieve(const cloud_client::CloudSession &,
                  const platform::InstanceIdentity &identity,
                  const QString &path,
                  qint64) override
    {
        const platform::MutexLock lock(m_mutex);
        m_retrieved.append(identity.instance.value());
        mayAnswer();
        if (m_retrievalStatus != 0 || !m_stored.contains(identity.instance.value())) {
            const int status = m_retrievalStatus != 0 ? m_retrievalStatus : 404;
            throw cloud_client::AFError(QStringLiteral("status %1").arg(status), status);
        }
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("a test can't write its files");
        }
    }

    bool isFound(const cloud_client::CloudSession &, const platform::InstanceIdentity &identity) override
    {
        runDuringLook();
        const platform::MutexLock lock(m_mutex);
        ++m_queries;
        mayAsk();
        return m_stored.contains(identity.instance.value());
    }

    bool mayHold(const cloud_client::CloudSession &session,
                 const platform::InstanceIdentity &identity) override
    {
        const bool isHeld = isFound(session, identity);
        const platform::MutexLock lock(m_mutex);
        return isHeld || m_passesOverQuestions;
    }

    /// From now on each query finds what it didn't ask for.
    void passOverQuestions()
    {
        const platform::MutexLock lock(m_mutex);
        m_passesOverQuestions = true;
    }

    /// Here all instances are of one series.
    bool isSeriesFound(const cloud_client::CloudSession &, const platform::InstanceIdentity &) override
    {
        const platform::MutexLock lock(m_mutex);
        ++m_queries;
        mayAsk();
        return !m_stored.isEmpty() || m_passesOverQuestions;
    }

    int queries() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_queries;
    }

    /// Answers no query.
    void takeNoQueries()
    {
        const platform::MutexLock lock(m_mutex);
        m_takesQueries = false;
    }

    /// Answers each retrieval with this status.
    void giveNothingBack(int status)
    {
        const platform::MutexLock lock(m_mutex);
        m_retrievalStatus = status;
    }

    /// Answers each retrieval and each query with something that can't be used, for this reason.
    void answerOddly(cloud_client::NoAnswer reason)
    {
        const platform::MutexLock lock(m_mutex);
        m_oddAnswer = reason;
    }

    /// Looks go to another server than images do.
    void beAskedElsewhere()
    {
        const platform::MutexLock lock(m_mutex);
        m_isElsewhere = true;
    }

    /// The instances that were fetched.
    QStringList retrieved() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_retrieved;
    }

private:
    class InFlight
    {
    public:
        explicit InFlight(FakeCloud &cloud) : m_cloud(cloud)
        {
            const platform::MutexLock lock(m_cloud.m_mutex);
            ++m_cloud.m_atOnce;
            m_cloud.m_mostAtOnce = std::max(m_cloud.m_mostAtOnce, m_cloud.m_atOnce);
        }
        ~InFlight()
        {
            const platform::MutexLock lock(m_cloud.m_mutex);
            --m_cloud.m_atOnce;
        }
        InFlight(const InFlight &) = delete;
        InFlight &operator=(const InFlight &) = delete;

    private:
        FakeCloud &m_cloud;
    };

    void runDuringLook()
    {
        std::function<void()> action;
        {
            const platform::MutexLock lock(m_mutex);
            action = m_duringLook;
        }
        if (action) {
            action();
        }
    }

    void mayAnswer() const QUORIN_REQUIRES(m_mutex)
    {
        if (m_oddAnswer) {
            cloud_client::AFError odd(QStringLiteral("odd"), std::nullopt, 0, *m_oddAnswer);
            odd.isOfAnotherServer = m_isElsewhere;
            throw odd;
        }
    }

    void mayAsk() const QUORIN_REQUIRES(m_mutex)
    {
        mayAnswer();
        if (!m_takesQueries) {
            throw cloud_client::AFError(QStringLiteral("status 404"), 404);
        }
    }

    static QVariantMap attribute(const QVariant &value)
    {
        return {{QStringLiteral("Value"), QVariantList{value}}};
    }

    static QString uidOf(const QUrl &file) { return file.fileName().section(u'-', -1); }

    QVariantMap keep(const QList<QUrl> &files)
    {
        const platform::MutexLock lock(m_mutex);
        if (m_status != 0) {
            throw cloud_client::AFError(QStringLiteral("status %1").arg(m_status), m_status);
        }
        QList<QStringList> failures;
        QSet<platform::InstanceUid> alreadyStored;
        QVariantList items;
        for (const QUrl &file : files) {
            if (m_refused.contains(uidOf(file)) || !QFileInfo::exists(file.toLocalFile())) {
                failures.append({uidOf(file), file.toLocalFile()});
            } else {
                m_stored.insert(uidOf(file));
                if (m_hadBefore.contains(uidOf(file))) {
                    alreadyStored.insert(platform::InstanceUid(uidOf(file)));
                    items.append(QVariantMap{{QStringLiteral("00081155"), attribute(uidOf(file))},
                                             {QStringLiteral("00081196"), attribute(45070)}});
                }
            }
        }
        if (!failures.isEmpty()) {
            throw cloud_client::QrnStowResponse(failures, 0xA700, {}, nullptr, alreadyStored);
        }
        return {{QStringLiteral("00081199"), QVariantMap{{QStringLiteral("Value"), items}}}};
    }

    mutable platform::Mutex m_mutex;
    QSet<QString> m_refused QUORIN_GUARDED_BY(m_mutex);
    QSet<QString> m_hadBefore QUORIN_GUARDED_BY(m_mutex);
    QSet<QString> m_stored QUORIN_GUARDED_BY(m_mutex);
    QStringList m_retrieved QUORIN_GUARDED_BY(m_mutex);
    QMap<QString, int> m_attempts QUORIN_GUARDED_BY(m_mutex);
    std::vector<Request> m_requests QUORIN_GUARDED_BY(m_mutex);
    std::function<void(const Request &, const cloud_client::UploadProgressCallback &)>
        m_duringRequest QUORIN_GUARDED_BY(m_mutex);
    std::function<void()> m_duringLook QUORIN_GUARDED_BY(m_mutex);
    int m_status QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_queries QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_takesQueries QUORIN_GUARDED_BY(m_mutex) = true;
    bool m_passesOverQuestions QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_isWithoutStore QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_isElsewhere QUORIN_GUARDED_BY(m_mutex) = false;
    int m_retrievalStatus QUORIN_GUARDED_BY(m_mutex) = 0;
    std::optional<cloud_client::NoAnswer> m_oddAnswer QUORIN_GUARDED_BY(m_mutex);
    int m_atOnce QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_mostAtOnce QUORIN_GUARDED_BY(m_mutex) = 0;
};

} // namespace gateway::upload::testing
