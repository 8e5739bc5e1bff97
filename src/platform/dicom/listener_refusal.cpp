#include "platform/dicom/listener_refusal.h"

#include "platform/dicom_protocol/words.h"

#include <QtCore/QFile>

#include <array>
#include <string>
#include <string_view>

namespace gateway::platform {

namespace {

namespace refusal = dicom_protocol::refusal;
using dicom_protocol::Record;

constexpr char kContext[] = "Listener";

struct Words
{
    std::string_view code;
    std::string_view value; // the field that takes the place of %1; the error that of %2
    const char *english;
};

constexpr std::array kWords{
    Words{refusal::kFolderUnusable,
          "folder",
          QT_TRANSLATE_NOOP("Listener", "The incoming folder %1 can't be used: %2.")},
    Words{
        refusal::kFolderCannotSync,
        "folder",
        QT_TRANSLATE_NOOP("Listener",
                          "The incoming folder %1 lies on a volume that can't sync folders (%2), so that no "
                          "image on it would be safe. Choose a folder on another volume.")},
    Words{
        refusal::kFolderCannotKeepTimes,
        "folder",
        QT_TRANSLATE_NOOP("Listener",
                          "The incoming folder %1 lies on a volume that can't keep the times of files (%2), "
                          "so that of two versions of an image nobody could tell the later one. Choose a "
                          "folder on another volume.")},
    Words{refusal::kFolderExchanged,
          "folder",
          QT_TRANSLATE_NOOP("Listener", "Another folder stands in the place of the incoming folder %1.")},
    Words{refusal::kAddressUnknown,
          "address",
          QT_TRANSLATE_NOOP("Listener", "The address %1 can't be bound: it isn't known.")},
    Words{refusal::kAddressNotHere,
          "address",
          QT_TRANSLATE_NOOP("Listener", "The address %1 doesn't belong to this machine.")},
    Words{refusal::kPortTaken,
          "port",
          QT_TRANSLATE_NOOP("Listener", "Port %1 is already in use by another program.")},
    Words{refusal::kPortReserved,
          "port",
          QT_TRANSLATE_NOOP("Listener", "Port %1 is reserved; this program may not listen on it.")},
    Words{refusal::kPortImpossible, "port", QT_TRANSLATE_NOOP("Listener", "Port %1 doesn't exist.")},
    Words{refusal::kPortUnusable, "port", QT_TRANSLATE_NOOP("Listener", "Can't listen on port %1: %2.")},
};

QString textOf(const Record &record, std::string_view field)
{
    return QFile::decodeName(QByteArray(std::string(record.text(field)).c_str()));
}

} // namespace

Sentence refusalSentence(const Record &refused)
{
    for (const Words &words : kWords) {
        if (words.code == refused.text("code")) {
            QList<Sentence::Value> values{textOf(refused, words.value)};
            if (refused.fields.contains("error")) {
                values.append(SystemError{static_cast<int>(refused.number("error", 0))});
            }
            return {kContext, words.english, std::move(values)};
        }
    }
    const Sentence why{textOf(refused, "message")};
    return why.isEmpty()
               ? Sentence(kContext, QT_TRANSLATE_NOOP("Listener", "The DICOM listener can't listen."))
               : why;
}

bool isOfFolder(const Record &refused)
{
    const std::string_view code = refused.text("code");
    return code == refusal::kFolderUnusable || code == refusal::kFolderCannotSync ||
           code == refusal::kFolderCannotKeepTimes || code == refusal::kFolderExchanged;
}

} // namespace gateway::platform
