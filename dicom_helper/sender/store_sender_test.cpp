#include "dicom_helper/sender/store_sender.h"

#include "dicom_helper/scp/association_request.h"
#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/command_set.h"
#include "dicom_helper/scp/negotiation.h"
#include "dicom_helper/scp/pdus.h"
#include "dicom_helper/sender/association_accept.h"
#include "platform/descriptors/descriptor.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace gateway::dicom_helper::sender {
namespace {

using Kind = StoreOutcome::Kind;

const Titles kTitles{"QUORIN", "QUORIN_TEST"};
const SampleIdentity kIdentity{"2.25.1.1", "2.25.1.2", "2.25.1.3", "20260203", "040506"};

/// What a listener says to the request that the sender makes.
std::string acceptance()
{
    scp::AssociationRequest request;
    request.titles = std::string(64, ' ');
    request.applicationContext = "1.2.840.10008.3.1.1.1";
    request.contexts = {{1, kSampleSopClass, {kSampleTransferSyntax}}};
    return scp::encodeAccept(request, scp::Negotiation(request));
}

std::string answer(std::uint16_t status)
{
    const scp::CommandSet request{scp::kStoreRequest, 1, true, kSampleSopClass, kIdentity.instance, {}};
    return scp::encodeMessage(1, scp::MessagePart::command, scp::encodeResponse(request, status, {}), 0);
}

/// A peer that says all that it has to say beforehand.
class StoreSender : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::array<int, 2> ends{};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        m_ours = platform::Descriptor(ends[0]);
        m_theirs = platform::Descriptor(ends[1]);
        const timeval once{0, 1000};
        ASSERT_EQ(::setsockopt(m_ours.get(), SOL_SOCKET, SO_RCVTIMEO, &once, sizeof(once)), 0);
    }

    void say(const std::string &bytes) const
    {
        ASSERT_EQ(::send(m_theirs.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }

    void hangUp() const { ::shutdown(m_theirs.get(), SHUT_WR); }

    StoreOutcome send() const { return storeSample(m_ours.get(), kTitles, kIdentity); }

    /// What the peer was sent.
    std::string heard() const
    {
        std::string bytes(1 << 20, '\0');
        const ssize_t got = ::recv(m_theirs.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
        return bytes;
    }

private:
    platform::Descriptor m_ours;
    platform::Descriptor m_theirs;
};

TEST_F(StoreSender, AsksForOneContextUnderItsTitles)
{
    say(acceptance() + answer(scp::kSuccess));

    EXPECT_EQ(send().kind, Kind::stored);

    const std::string bytes = heard();
    scp::ByteReader head(bytes);
    EXPECT_EQ(head.byte(), static_cast<std::uint8_t>(scp::PduType::associateRequest));
    head.byte();
    const auto request = scp::parseAssociationRequest(head.take(head.bigLong()));
    EXPECT_EQ(request.callingTitle, "QUORIN_TEST");
    EXPECT_EQ(request.titles.substr(0, 16), "QUORIN          ");
    ASSERT_EQ(request.contexts.size(), 1U);
    EXPECT_EQ(request.contexts[0].abstractSyntax, kSampleSopClass);
    EXPECT_EQ(bytes.substr(bytes.size() - 10, 2), std::string("\x05\0", 2)); // a release request
}

TEST_F(StoreSender, TakesAWarningForStored)
{
    say(acceptance() + answer(0xB000));

    EXPECT_EQ(send().kind, Kind::stored);
}

TEST_F(StoreSender, TellsARefusalAndItsStatus)
{
    say(acceptance() + answer(scp::kOutOfResources));

    EXPECT_EQ(send(), (StoreOutcome{Kind::failed, scp::kOutOfResources}));
}

TEST_F(StoreSender, TellsThatItIsTurnedAway)
{
    say(scp::encodeReject(scp::kLocalLimitExceeded));

    EXPECT_EQ(send().kind, Kind::rejected);
}

TEST_F(StoreSender, TellsThatItsKindOfImageIsNotTaken)
{
    std::string refused = acceptance();
    const std::size_t context = refused.find(std::string("\x21\0", 2));
    refused[context + 6] = 3; // abstract syntax not supported
    say(refused);

    EXPECT_EQ(send().kind, Kind::notTaken);
}

TEST_F(StoreSender, TellsThatNobodySpeaksDicomThere)
{
    say("HTTP/1.1 400 Bad Request\r\n\r\n");

    EXPECT_EQ(send().kind, Kind::broken);
}

TEST_F(StoreSender, TellsThatThePeerHangsUpBeforeItsAnswer)
{
    say(acceptance());
    hangUp();

    EXPECT_EQ(send().kind, Kind::broken);
}

TEST_F(StoreSender, WaitsForNobodyForEver)
{
    say(acceptance());

    EXPECT_EQ(send().kind, Kind::silent);
}

TEST_F(StoreSender, CountsAnAnswerWithoutStatusAsNone)
{
    std::string empty = answer(scp::kSuccess);
    const std::size_t status = empty.find(std::string("\0\0\0\x09", 4));
    empty[status + 3] = 0x03; // Offending Element, say
    say(acceptance() + empty);

    EXPECT_EQ(send().kind, Kind::broken);
}

TEST(AssociationAccept, CutAnywhereIsNone)
{
    const std::string whole = acceptance().substr(scp::kPduHeaderBytes);
    EXPECT_EQ(parseAssociationAccept(whole).results, (std::map<std::uint8_t, std::uint8_t>{{1, 0}}));
    EXPECT_EQ(parseAssociationAccept(whole).maximumLength, scp::kOurMaximumLength);

    int refused = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        try {
            parseAssociationAccept(std::string_view(whole).substr(0, size));
        } catch (const scp::ProtocolError &) {
            ++refused;
        }
    }
    EXPECT_GT(refused, static_cast<int>(whole.size()) / 2); // some ends lie between two items
}

} // namespace
} // namespace gateway::dicom_helper::sender
