#include "app/index_recording.h"

#include "platform/concurrency/main_thread.h"
#include <chrono>
#include <cstdint>
#include <utility>

namespace gateway::app {

IndexRecording::IndexRecording(Collaborators with) : m_with(std::move(with))
{
    platform::assertMainThread("IndexRecording");
    if (m_with.index.storeRecording().lacksStoredFiles()) {
        say(QStringLiteral("The index lacks stored images: it was made anew, or came back from a backup. "
                           "They are being recorded in it again, and are sent again where the cloud "
                           "doesn't have them."));
    }
    m_task = platform::Task("recording", [this](const std::stop_token &stop) { record(stop); });
}

void IndexRecording::record(const std::stop_token &stop)
{
    constexpr std::chrono::minutes kPause(1); // trouble of the disk, or a share that is away
    std::int64_t recorded = 0;
    const auto count = [&](std::int64_t files) {
        recorded += files;
        m_with.listener.keepOrder();
        m_with.uploads.requestUpload(QStringLiteral("store_recorded_again"), upload::UploadUrgency::whenOpen);
    };
    while (!m_with.index.storeRecording().recordStoredFiles(stop, count)) {
        if (!m_with.clock.sleep(kPause, stop)) {
            return;
        }
    }
    if (recorded > 0) {
        say(QStringLiteral("%1 stored files are recorded in the index again.").arg(recorded));
    }
}

void IndexRecording::say(const QString &sentence)
{
    m_with.systemLog.write(platform::SystemLogLevel::error,
                           QStringLiteral("com.ovelt.pavan.gateway"),
                           QStringLiteral("index"),
                           sentence);
    m_with.writeLine(sentence);
}

} // namespace gateway::app
