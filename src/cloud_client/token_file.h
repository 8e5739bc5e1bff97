#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/patient_question.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::cloud_client {

/// The file that holds an archive's token, and is read anew each time, since anybody may change it. It may
/// lie on a share that stops answering, so each reading has its limit; one that is left behind keeps its
/// thread, and whoever comes while it stands waits for that one.
///
/// Thread: any, several at a time.
class TokenFile
{
public:
    /// For how long a disk is waited for.
    static constexpr std::chrono::seconds kPatience{10};

    /// What a file holds, up to 16 KiB; nothing where it isn't there, can't be read, or is no ordinary file.
    using Read = std::function<std::optional<QByteArray>(const QString &path)>;

    static std::optional<QByteArray> contentOf(const QString &path);

    /// \param clock  outlives the object.
    /// \param read   blocks for as long as the disk does; holds nothing that dies before it.
    TokenFile(QString path, platform::Clock &clock, Read read = contentOf);

    /// The token of this moment. Blocks for up to `kPatience`.
    ///
    /// \throws AFError  with NoAnswer::signInUnavailable and one sentence.
    QByteArray token();

private:
    using Reading = platform::Asked<std::optional<QByteArray>>;

    std::shared_ptr<Reading> reading();

    const QString m_path;
    platform::Clock &m_clock;
    const Read m_read;
    platform::Mutex m_mutex;
    std::shared_ptr<Reading> m_reading QUORIN_GUARDED_BY(m_mutex); // the last one; null before the first
};

} // namespace gateway::cloud_client
