#include "platform/archive/archive_unpacker.h"

#include "platform/dicom/helper_process.h"

#include <QtCore/QFile>

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <system_error>
#include <utility>

namespace gateway::platform {

namespace {

using dicom_protocol::Channel;
using dicom_protocol::Record;
using Outcome = UnpackedArchive::Outcome;

Record job(const QString &archive, const QString &folder, const ArchiveLimits &limits)
{
    Record record{"unpack",
                  {{"path", QFile::encodeName(archive).toStdString()},
                   {"folder", QFile::encodeName(folder).toStdString()}}};
    record.setNumber("entries", limits.entries);
    record.setNumber("bytes", limits.bytes);
    record.setNumber("reserve", limits.reserveBytes);
    return record;
}

/// How an answer's word is meant; an unknown one is a broken process, which a broken archive explains.
Outcome outcomeOf(std::string_view word)
{
    constexpr std::array<std::pair<std::string_view, Outcome>, 4> kWords{{{"unpacked", Outcome::unpacked},
                                                                          {"encrypted", Outcome::encrypted},
                                                                          {"toolarge", Outcome::tooLarge},
                                                                          {"nostorage", Outcome::noStorage}}};
    const auto *const found =
        std::ranges::find_if(kWords, [&](const auto &entry) { return entry.first == word; });
    return found == kWords.end() ? Outcome::unreadable : found->second;
}

} // namespace

UnpackedArchive ArchiveUnpacker::unpack(const QString &archive,
                                        const QString &folder,
                                        const ArchiveLimits &limits,
                                        const Progress &progress,
                                        std::stop_token stop)
{
    try {
        HelperProcess process(m_program, QStringLiteral("unpack"));
        const std::stop_callback endsIt(stop, [&process] { process.kill(); });
        // A process that is gone at once leaves the channel closed, which shows below.
        process.channel().send(job(archive, folder, limits));
        Record answer;
        Channel::Receipt receipt = process.channel().receive(answer, m_longestSilence);
        while (receipt == Channel::Receipt::record && answer.word == "unpacking") {
            progress(answer.number("files", 0), answer.number("bytes", 0));
            receipt = process.channel().receive(answer, m_longestSilence);
        }
        if (stop.stop_requested()) {
            return {Outcome::stopped};
        }
        if (receipt != Channel::Receipt::record) {
            // Killed by a limit, crashed or hung: the archive made it so.
            return {Outcome::unreadable};
        }
        return {outcomeOf(answer.word),
                answer.number("files", 0),
                answer.number("bytes", 0),
                answer.number("leftout", 0)};
    } catch (const std::system_error &) {
        return {Outcome::unavailable};
    }
}

} // namespace gateway::platform
