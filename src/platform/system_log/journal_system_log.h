#pragma once

#include "platform/system_log/system_log.h"

#include <functional>
#include <optional>

struct iovec;

namespace gateway::platform {

/// Sends messages to the systemd journal, or to standard error where no journal takes them.
///
/// Owner: app. Thread: any. Blocks no longer than one write to a local socket or descriptor.
class JournalSystemLog final : public SystemLog
{
public:
    /// Sends one journal entry of `count` fields of the form "NAME=value"; below 0 is a failure.
    using Send = std::function<int(const iovec *fields, int count)>;

    /// The journal of this machine if one runs, else standard error.
    JournalSystemLog();

    /// \param journal     nothing where there is no journal.
    /// \param descriptor  takes lines where the journal doesn't; borrowed.
    JournalSystemLog(std::optional<Send> journal, int descriptor);

    void write(SystemLogLevel level, QString subsystem, QString category, QString message) override;

    /// A terminal isn't troubled with debug messages; a journal takes everything.
    bool enabled(SystemLogLevel level) const override;

private:
    bool sendToJournal(SystemLogLevel level,
                       const QString &subsystem,
                       const QString &category,
                       const QString &message) const;

    const std::optional<Send> m_journal;
    const int m_descriptor;
};

} // namespace gateway::platform
