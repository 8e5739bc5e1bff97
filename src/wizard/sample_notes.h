#pragma once

#include "platform/defaults/user_defaults.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>

namespace gateway::wizard {

/// Keeps in mind which samples were sent and aren't known to be gone again, whatever ends meanwhile.
///
/// Owner: SampleRemoval. Thread: any.
class SampleNotes
{
public:
    /// \param defaults  outlives this.
    explicit SampleNotes(platform::UserDefaults &defaults) : m_defaults(defaults) {}

    /// The studies of such samples, the oldest first.
    QList<platform::StudyUid> studies() const;

    /// Until when a cloud that doesn't show a sample may yet store it.
    QDateTime mayComeUntil(const platform::StudyUid &study) const;

    /// \return false when that can't be kept in mind: the sample isn't to be sent then.
    bool add(const platform::StudyUid &study, const QDateTime &mayComeUntil);

    /// The sample was in the cloud: what doesn't show it any more has nothing of it to come.
    void setArrived(const platform::StudyUid &study);

    void remove(const platform::StudyUid &study);

private:
    struct Note
    {
        platform::StudyUid study;
        QDateTime mayComeUntil;
    };

    QList<Note> notes() const;
    bool write(const QList<Note> &notes);

    platform::UserDefaults &m_defaults;
};

} // namespace gateway::wizard
