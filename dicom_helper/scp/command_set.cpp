#include "dicom_helper/scp/command_set.h"

#include "dicom_helper/scp/bytes.h"

#include <optional>

namespace gateway::dicom_helper::scp {

namespace {

// Elements of group 0000 (PS3.7 E.1).
constexpr std::uint16_t kGroupLength = 0x0000;
constexpr std::uint16_t kAffectedSopClass = 0x0002;
constexpr std::uint16_t kCommandField = 0x0100;
constexpr std::uint16_t kMessageId = 0x0110;
constexpr std::uint16_t kMessageIdRespondedTo = 0x0120;
constexpr std::uint16_t kPriority = 0x0700;
constexpr std::uint16_t kDataSetType = 0x0800;
constexpr std::uint16_t kStatus = 0x0900;
constexpr std::uint16_t kErrorComment = 0x0902;
constexpr std::uint16_t kAffectedSopInstance = 0x1000;

constexpr std::uint16_t kMediumPriority = 0x0000;
constexpr std::uint16_t kSomeDataSet = 0x0000;
constexpr std::uint16_t kNoDataSet = 0x0101;
constexpr std::size_t kMaxTextBytes = 64;

std::string unpadded(std::string_view text)
{
    while (!text.empty() && (text.back() == '\0' || text.back() == ' ')) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

void putElement(std::string &bytes, std::uint16_t element, std::string_view value)
{
    putLittle(bytes, 0, 2);
    putLittle(bytes, element, 2);
    putLittle(bytes, static_cast<std::uint32_t>(value.size()), 4);
    bytes += value;
}

void putShort(std::string &bytes, std::uint16_t element, std::uint16_t value)
{
    std::string encoded;
    putLittle(encoded, value, 2);
    putElement(bytes, element, encoded);
}

void putText(std::string &bytes, std::uint16_t element, std::string_view text, char padding)
{
    std::string value(text.substr(0, kMaxTextBytes));
    if (value.empty()) {
        return;
    }
    if (value.size() % 2 != 0) {
        value.push_back(padding);
    }
    putElement(bytes, element, value);
}

void putUid(std::string &bytes, std::uint16_t element, const std::string &uid)
{
    putText(bytes, element, uid.size() <= kMaxTextBytes ? std::string_view(uid) : std::string_view(), '\0');
}

std::string withGroupLength(const std::string &elements)
{
    std::string length;
    putLittle(length, static_cast<std::uint32_t>(elements.size()), 4);
    std::string bytes;
    putElement(bytes, kGroupLength, length);
    return bytes + elements;
}

} // namespace

CommandSet parseCommandSet(std::string_view bytes)
{
    ByteReader reader(bytes);
    CommandSet command;
    bool hasField = false;
    std::optional<std::uint16_t> dataSetType;
    while (!reader.atEnd()) {
        const std::uint16_t group = reader.littleShort();
        const std::uint16_t element = reader.littleShort();
        const std::string_view value = reader.take(reader.littleLong());
        if (group != 0) {
            throw ProtocolError("a command set holds an element of another group");
        }
        if (element == kCommandField) {
            command.field = ByteReader(value).littleShort();
            hasField = true;
        } else if (element == kMessageId) {
            command.messageId = ByteReader(value).littleShort();
        } else if (element == kDataSetType) {
            dataSetType = ByteReader(value).littleShort();
        } else if (element == kStatus) {
            command.status = value.size() < 2 ? std::nullopt : std::optional(ByteReader(value).littleShort());
        } else if (element == kAffectedSopClass) {
            command.sopClass = unpadded(value);
        } else if (element == kAffectedSopInstance) {
            command.sopInstance = unpadded(value);
        }
    }
    if (!hasField) {
        throw ProtocolError("a command set says no command");
    }
    command.hasDataSet = dataSetType ? *dataSetType != kNoDataSet : command.field == kStoreRequest;
    return command;
}

std::string
encodeStoreRequest(std::uint16_t messageId, const std::string &sopClass, const std::string &sopInstance)
{
    std::string elements;
    putUid(elements, kAffectedSopClass, sopClass);
    putShort(elements, kCommandField, kStoreRequest);
    putShort(elements, kMessageId, messageId);
    putShort(elements, kPriority, kMediumPriority);
    putShort(elements, kDataSetType, kSomeDataSet);
    putUid(elements, kAffectedSopInstance, sopInstance);
    return withGroupLength(elements);
}

std::string encodeResponse(const CommandSet &request, std::uint16_t status, std::string_view comment)
{
    std::string elements;
    putUid(elements, kAffectedSopClass, request.sopClass);
    putShort(elements, kCommandField, request.field | kResponseBit);
    putShort(elements, kMessageIdRespondedTo, request.messageId);
    putShort(elements, kDataSetType, kNoDataSet);
    putShort(elements, kStatus, status);
    putText(elements, kErrorComment, comment, ' ');
    putUid(elements, kAffectedSopInstance, request.sopInstance);
    return withGroupLength(elements);
}

} // namespace gateway::dicom_helper::scp
