#pragma once

#include "platform/defaults/user_defaults.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

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
    QStringList studies() const;

    /// \return false when that can't be kept in mind: the sample isn't to be sent then.
    bool add(const QString &study);

    void remove(const QString &study);

private:
    platform::UserDefaults &m_defaults;
};

} // namespace gateway::wizard
