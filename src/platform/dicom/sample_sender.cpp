#include "platform/dicom/sample_sender.h"

#include "platform/dicom/helper_process.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <system_error>
#include <utility>

namespace gateway::platform {

using dicom_protocol::Channel;
using dicom_protocol::Record;
using Kind = SampleOutcome::Kind;

namespace {

/// The process waits a quarter of a minute for each answer; there are at most four of them.
constexpr std::chrono::seconds kAnswerTimeout(90);

Kind kindOf(std::string_view word)
{
    constexpr std::array<std::pair<std::string_view, Kind>, 7> kWords{{{"stored", Kind::stored},
                                                                       {"unreachable", Kind::unreachable},
                                                                       {"rejected", Kind::rejected},
                                                                       {"nottaken", Kind::notTaken},
                                                                       {"failed", Kind::failed},
                                                                       {"broken", Kind::broken},
                                                                       {"silent", Kind::silent}}};
    const auto *const found =
        std::ranges::find_if(kWords, [&](const auto &entry) { return entry.first == word; });
    return found == kWords.end() ? Kind::unavailable : found->second;
}

Record job(const SampleDestination &destination, const InstanceIdentity &identity, const QDateTime &madeAt)
{
    Record record{"send",
                  {{"address", destination.address.toStdString()},
                   {"called", destination.calledTitle.toStdString()},
                   {"calling", destination.callingTitle.toStdString()},
                   {"study", identity.study.value().toStdString()},
                   {"series", identity.series.value().toStdString()},
                   {"instance", identity.instance.value().toStdString()},
                   {"date", madeAt.toString(QStringLiteral("yyyyMMdd")).toStdString()},
                   {"time", madeAt.toString(QStringLiteral("HHmmss")).toStdString()}}};
    record.setNumber("port", destination.port);
    return record;
}

} // namespace

SampleOutcome sendSample(const QString &helperProgram,
                         const SampleDestination &destination,
                         const InstanceIdentity &identity,
                         const QDateTime &madeAt)
{
    try {
        HelperProcess process(helperProgram, QStringLiteral("sender"));
        process.channel().send(job(destination, identity, madeAt));
        Record answer;
        if (process.channel().receive(answer, kAnswerTimeout) != Channel::Receipt::record) {
            return {};
        }
        return {kindOf(answer.word), static_cast<int>(answer.number("status", 0))};
    } catch (const std::system_error &) {
        return {};
    }
}

} // namespace gateway::platform
