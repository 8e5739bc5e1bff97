#include "app/index_recording.h"

#include "platform/concurrency/main_thread.h"
#include <chrono>
#include <cstdint>
#include <utility>

namespace gateway::app {

IndexRecording::IndexRecording(Collaborators collaborators) : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("IndexRecording");
    m_task = platform::Task("recording", [this](const std::stop_token &stop) { watch(stop); });
}

/// A store that comes into sight in life may be ahead of the index.
void IndexRecording::watch(const std::stop_token &stop)
{
    constexpr std::chrono::minutes kPause(1); // also for trouble of the disk
    do {
        record(stop);
    } while (m_collaborators.clock.sleep(kPause, stop));
}

void IndexRecording::record(const std::stop_token &stop)
{
    index::StoreRecording &recording = m_collaborators.index.storeRecording();
    if (!m_isTold && recording.lacksStoredFiles()) {
        m_isTold = true;
        say(QStringLiteral("The index lacks stored images: it was made anew, or came back from a backup. "
                           "They are being recorded in it again, and are sent again where the cloud "
                           "doesn't have them."));
    }
    const auto count = [this](std::int64_t files) {
        m_recorded += files;
        m_collaborators.listener.keepOrder();
        m_collaborators.uploads.requestUpload(QStringLiteral("store_recorded_again"),
                                              upload::UploadUrgency::whenOpen);
    };
    if (!recording.recordStoredFiles(stop, count)) {
        return;
    }
    m_isTold = false;
    if (const std::int64_t recorded = std::exchange(m_recorded, 0); recorded > 0) {
        say(QStringLiteral("%1 stored files are recorded in the index again.").arg(recorded));
    }
}

void IndexRecording::say(const QString &sentence)
{
    m_collaborators.systemLog.write(platform::SystemLogLevel::error,
                                    QStringLiteral("com.ovelt.pavan.gateway"),
                                    QStringLiteral("index"),
                                    sentence);
    m_collaborators.writeLine(sentence);
}

} // namespace gateway::app
