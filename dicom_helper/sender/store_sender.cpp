#include "dicom_helper/sender/store_sender.h"

#include "dicom_helper/implementation.h"
#include "dicom_helper/scp/association_request.h"
#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/command_set.h"
#include "dicom_helper/scp/item_types.h"
#include "dicom_helper/scp/pdus.h"
#include "dicom_helper/sender/association_accept.h"

#include <cerrno>

#include <sys/socket.h>

namespace gateway::dicom_helper::sender {

using scp::ByteReader;
using scp::MessagePart;
using scp::PduType;
using scp::ProtocolError;
using scp::putBig;
using scp::putItem;
namespace item_type = scp::item_type;
using Kind = StoreOutcome::Kind;

namespace {

constexpr std::uint8_t kContextId = 1;
constexpr std::uint16_t kMessageId = 1;
constexpr std::size_t kTitleBytes = 16;

/// A longer answer than any real one: those that are waited for have some hundred bytes.
constexpr std::uint32_t kMaxAnswerBytes = 256 * 1024;

/// The peer didn't say in time what was waited for.
struct Silence
{
};

struct Pdu
{
    PduType type;
    std::string body;
};

std::string padded(std::string title)
{
    title.resize(kTitleBytes, ' ');
    return title;
}

std::string associationRequest(const Titles &titles)
{
    std::string context;
    putBig(context, kContextId, 1);
    putBig(context, 0, 3);
    putItem(context, item_type::kAbstractSyntax, kSampleSopClass);
    putItem(context, item_type::kTransferSyntax, kSampleTransferSyntax);
    std::string length;
    putBig(length, scp::kOurMaximumLength, 4);
    std::string user;
    putItem(user, item_type::kMaximumLength, length);
    putItem(user, item_type::kImplementationClass, kImplementationClassUid);
    putItem(user, item_type::kImplementationVersion, kImplementationVersionName);

    std::string body;
    putBig(body, 1, 2);
    putBig(body, 0, 2);
    body += padded(titles.called) + padded(titles.calling) + std::string(32, '\0');
    putItem(body, item_type::kApplicationContext, "1.2.840.10008.3.1.1.1");
    putItem(body, item_type::kPresentationContext, context);
    putItem(body, item_type::kUserInformation, user);
    return scp::encodePdu(PduType::associateRequest, body);
}

void sendAll(int connection, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            throw Silence();
        }
        if (sent <= 0) {
            throw ProtocolError("the connection has ended");
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::string receiveBytes(int connection, std::size_t count)
{
    std::string bytes(count, '\0');
    std::size_t have = 0;
    while (have < count) {
        const ssize_t got = ::recv(connection, bytes.data() + have, count - have, 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            throw Silence();
        }
        if (got <= 0) {
            throw ProtocolError("the connection has ended");
        }
        have += static_cast<std::size_t>(got);
    }
    return bytes;
}

Pdu receivePdu(int connection)
{
    const std::string head = receiveBytes(connection, scp::kPduHeaderBytes);
    ByteReader reader(head);
    const auto type = static_cast<PduType>(reader.byte());
    reader.byte();
    const std::uint32_t length = reader.bigLong();
    if (length > kMaxAnswerBytes) {
        throw ProtocolError("an answer is longer than any real one");
    }
    return {type, receiveBytes(connection, length)};
}

/// The whole of the next command set.
scp::CommandSet receiveCommand(int connection)
{
    constexpr std::uint8_t kCommand = 1;
    constexpr std::uint8_t kLastFragment = 2;
    std::string command;
    for (;;) {
        const Pdu pdu = receivePdu(connection);
        if (pdu.type != PduType::data) {
            throw ProtocolError("no answer to a message");
        }
        ByteReader values(pdu.body);
        while (!values.atEnd()) {
            ByteReader value(values.take(values.bigLong()));
            value.byte();
            const std::uint8_t control = value.byte();
            while (!value.atEnd()) {
                command.push_back(static_cast<char>(value.byte()));
            }
            if (command.size() > scp::kMaxCommandBytes || (control & kCommand) == 0) {
                throw ProtocolError("no answer to a message");
            }
            if ((control & kLastFragment) != 0) {
                return scp::parseCommandSet(command);
            }
        }
    }
}

StoreOutcome converse(int connection, const Titles &titles, const SampleIdentity &identity)
{
    sendAll(connection, associationRequest(titles));
    const Pdu answer = receivePdu(connection);
    if (answer.type == PduType::associateReject) {
        return {.kind = Kind::rejected};
    }
    if (answer.type != PduType::associateAccept) {
        return {.kind = Kind::broken};
    }
    const AssociationAccept accept = parseAssociationAccept(answer.body);
    const auto context = accept.results.find(kContextId);
    if (context == accept.results.end() || context->second != 0) {
        return {.kind = Kind::notTaken};
    }
    sendAll(connection,
            scp::encodeMessage(kContextId,
                               MessagePart::command,
                               scp::encodeStoreRequest(kMessageId, kSampleSopClass, identity.instance),
                               accept.maximumLength));
    sendAll(
        connection,
        scp::encodeMessage(kContextId, MessagePart::dataSet, sampleDataSet(identity), accept.maximumLength));
    const scp::CommandSet response = receiveCommand(connection);
    if (response.field != (scp::kStoreRequest | scp::kResponseBit) || !response.status) {
        return {.kind = Kind::broken};
    }
    constexpr std::uint16_t kWarnings = 0xB000;
    const bool isStored = *response.status == scp::kSuccess || (*response.status & 0xF000U) == kWarnings;
    return isStored ? StoreOutcome{.kind = Kind::stored}
                    : StoreOutcome{.kind = Kind::failed, .status = *response.status};
}

/// What was stored is stored, however the association ends.
void release(int connection)
{
    try {
        sendAll(connection, scp::encodePdu(PduType::releaseRequest, std::string(4, '\0')));
        receivePdu(connection);
    } catch (const ProtocolError &) { // the peer has gone, which is what was asked for
        return;
    } catch (const Silence &) {
        return;
    }
}

} // namespace

StoreOutcome storeSample(int connection, const Titles &titles, const SampleIdentity &identity)
{
    try {
        const StoreOutcome outcome = converse(connection, titles, identity);
        if (outcome.kind != Kind::rejected && outcome.kind != Kind::broken) {
            release(connection);
        }
        return outcome;
    } catch (const ProtocolError &) {
        return {.kind = Kind::broken};
    } catch (const Silence &) {
        return {.kind = Kind::silent};
    }
}

} // namespace gateway::dicom_helper::sender
