#pragma once

#include "cloud_client/qrn_delete_api.h"
#include "cloud_client/qrn_qido_api.h"
#include "cloud_client/qrn_tag_parser.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <algorithm>
#include <atomic>
#include <optional>
#include <vector>

namespace gateway::browser::testing {

/// An attribute in DICOM JSON.
inline QVariantMap attribute(const QVariant &value)
{
    return {{QStringLiteral("Value"), QVariantList{value}}};
}

/// A DICOM JSON object of these attributes.
inline QVariantMap object(const QMap<cloud_client::QrnDicomTag, QVariant> &attributes)
{
    QVariantMap object;
    for (auto each = attributes.cbegin(); each != attributes.cend(); ++each) {
        object.insert(cloud_client::tagKey(each.key()), attribute(each.value()));
    }
    return object;
}

/// A working archive in memory: studies and their series as DICOM JSON, pages, a line that can be cut,
/// targets that can't be deleted, and a door at which calls can be made to wait.
///
/// Thread: any.
class FakeArchive final : public cloud_client::QrnQidoAPIProtocol, public cloud_client::QrnDeleteAPIProtocol
{
public:
    // Set by the test while no call is under way.
    QList<QVariantMap> studies;
    QMap<QString, QList<QVariantMap>> series; ///< by study
    qsizetype pageSize = 100;
    std::optional<QString> failure; ///< every query fails with these words, once it has sent its first page
    QSet<QString> stubborn;         ///< targets that can't be deleted
    QString stubbornWords = QStringLiteral("It is held.");
    std::optional<cloud_client::QrnQidoQueryRequest> lastQuery;
    std::atomic<int> pages = 0; ///< sent so far

    /// Adds a study with nothing but its UID and what else is given.
    void addStudy(const QString &uid, QMap<cloud_client::QrnDicomTag, QVariant> attributes = {})
    {
        attributes.insert(cloud_client::QrnDicomTag::StudyInstanceUID, uid);
        studies.append(object(attributes));
    }

    void addSeries(const QString &study, const QString &uid, const QVariant &number)
    {
        series[study].append(object({{cloud_client::QrnDicomTag::SeriesInstanceUID, uid},
                                     {cloud_client::QrnDicomTag::SeriesNumber, number}}));
    }

    QList<QVariantMap> getAll(const cloud_client::QrnQidoQueryRequest &query,
                              const cloud_client::QrnQidoPageHandler &onPage) override
    {
        lastQuery = query;
        return send(QStringLiteral("studies"), studies, onPage);
    }

    QList<QVariantMap> getSeries(const QString &study,
                                 const cloud_client::QrnQidoPageHandler &onPage) override
    {
        return send(QStringLiteral("series ") + study, series.value(study), onPage);
    }

    void deleteStudy(const QString &study, const QString &device) override
    {
        take(QStringLiteral("delete ") + study, study, device);
        removeFrom(studies, cloud_client::QrnDicomTag::StudyInstanceUID, study);
    }

    void deleteSeries(const QString &study, const QString &uid, const QString &device) override
    {
        take(QStringLiteral("delete ") + study + u'/' + uid, uid, device);
        removeFrom(series[study], cloud_client::QrnDicomTag::SeriesInstanceUID, uid);
    }

    /// Makes calls that begin with `name` wait from now on: queries behind their first page.
    void hold(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_held = name;
        m_changed.notifyAll();
    }

    void release() { hold({}); }

    /// All calls so far.
    QStringList calls() const
    {
        const platform::MutexLock lock(m_mutex);
        return {m_calls.begin(), m_calls.end()};
    }

    QString lastDevice() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_lastDevice;
    }

private:
    QList<QVariantMap>
    send(const QString &call, const QList<QVariantMap> &all, const cloud_client::QrnQidoPageHandler &onPage)
    {
        const QList<QVariantMap> found = all; // before anybody knows of the call, and may change it
        note(call);
        for (qsizetype at = 0; at == 0 || at < found.size(); at += pageSize) {
            ++pages;
            const bool isWanted = onPage(found.mid(at, pageSize));
            waitAtTheDoor(call);
            if (failure) {
                throw cloud_client::AFError(*failure, std::nullopt);
            }
            if (!isWanted) {
                break;
            }
        }
        return {};
    }

    void take(const QString &call, const QString &target, const QString &device)
    {
        note(call);
        waitAtTheDoor(call);
        const platform::MutexLock lock(m_mutex);
        m_lastDevice = device;
        if (stubborn.contains(target)) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::serviceFault, stubbornWords);
        }
    }

    static void removeFrom(QList<QVariantMap> &list, cloud_client::QrnDicomTag tag, const QString &uid)
    {
        list.removeIf([&](const QVariantMap &each) {
            return cloud_client::QrnTagParser::getStringTag(each, tag).trimmed() == uid;
        });
    }

    void note(const QString &call)
    {
        const platform::MutexLock lock(m_mutex);
        m_calls.push_back(call);
    }

    void waitAtTheDoor(const QString &call)
    {
        const platform::MutexLock lock(m_mutex);
        while (!m_held.isEmpty() && call.startsWith(m_held)) {
            m_changed.wait(m_mutex);
        }
    }

    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    QString m_held QUORIN_GUARDED_BY(m_mutex);
    QString m_lastDevice QUORIN_GUARDED_BY(m_mutex);
    std::vector<QString> m_calls QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::browser::testing
