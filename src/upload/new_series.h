#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace gateway::upload {

/// The series of which a cloud held nothing when this process first asked: whatever it holds of them by
/// now, this process has sent.
///
/// Owner: app. Thread: any.
class NewSeries
{
public:
    /// \param cloud  names the cloud that was asked.
    bool contains(const QString &cloud, const platform::InstanceIdentity &instance) const
    {
        const platform::MutexLock lock(m_mutex);
        return m_series.contains({cloud, instance.study.value(), instance.series.value()});
    }

    /// Notes the instance's series.
    void add(const QString &cloud, const platform::InstanceIdentity &instance)
    {
        constexpr qsizetype kMost = 10'000; // some megabytes; who is forgotten is asked for again
        const platform::MutexLock lock(m_mutex);
        if (m_series.size() >= kMost) {
            m_series.clear();
        }
        m_series.insert({cloud, instance.study.value(), instance.series.value()});
    }

private:
    mutable platform::Mutex m_mutex;
    QSet<QStringList> m_series QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::upload
