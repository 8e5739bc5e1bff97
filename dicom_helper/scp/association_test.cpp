#include "dicom_helper/scp/association.h"

#include "dicom_helper/scp/protocol_error.h"
#include "dicom_helper/scp/testing/memory_disk.h"
#include "platform/dicom/testing/scripted_modality.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace gateway::dicom_helper::scp {

using platform::testing::associateRequest;
using platform::testing::commandSet;
using platform::testing::dataPdus;
using platform::testing::kCtStorage;
using platform::testing::kExplicitLittleEndian;
using platform::testing::kVerification;
using platform::testing::pdu;
using platform::testing::smallDataSet;
using testing::MemoryDisk;

namespace {

/// One association on a disk in memory, whose answers are kept.
class Served : public AssociationOutlet
{
public:
    explicit Served(std::uint32_t maximumLength = 16384)
        : m_request(parseAssociationRequest(associateRequest({{1, kCtStorage, {kExplicitLittleEndian}},
                                                              {3, "1.2.840.10008.5.1.4.1.2.2.1", {"1.2"}}},
                                                             {},
                                                             maximumLength)
                                                .substr(kPduHeaderBytes))),
          association(m_request, disk, *this, "quorin-x-", SpaceClaim(m_claims, 0))
    {
    }

    bool send(std::string_view bytes) override
    {
        sent += bytes;
        return reachable;
    }

    void onStored(const std::string &finalName) override { stored.push_back(finalName); }

    /// The status in the last answer, or -1.
    int status() const
    {
        const std::size_t at = sent.rfind(std::string_view("\0\0\0\x09\2\0\0\0", 8));
        return at == std::string::npos ? -1
                                       : static_cast<std::uint8_t>(sent.at(at + 8)) |
                                             static_cast<std::uint8_t>(sent.at(at + 9)) << 8;
    }

private:
    AssociationRequest m_request;

public:
    MemoryDisk disk;
    bool reachable = true;
    std::string sent;
    std::vector<std::string> stored;
    SpaceClaims m_claims{0};
    Association association;
};

std::string
storeOf(const std::string &dataSet, const std::string &instance = "1.2.3", std::size_t fragment = 16000)
{
    return dataPdus(1, true, commandSet(1, 7, kCtStorage, instance), fragment) +
           dataPdus(1, false, dataSet, fragment);
}

} // namespace

TEST(Association, KeepsTheDatasetBitForBitHoweverItIsCut)
{
    const std::string dataSet = smallDataSet(kCtStorage, "1.2.3", 5000);
    for (const std::size_t fragment :
         {std::size_t(1), std::size_t(7), std::size_t(4096), std::size_t(100000)}) {
        for (const std::size_t piece : {std::size_t(1), std::size_t(5), std::size_t(1000000)}) {
            Served served;
            const std::string bytes = storeOf(dataSet, "1.2.3", fragment);

            for (std::size_t at = 0; at < bytes.size(); at += piece) {
                served.association.take(std::string_view(bytes).substr(at, piece));
            }

            EXPECT_EQ(served.status(), kSuccess);
            ASSERT_EQ(served.stored, std::vector<std::string>{"quorin-x-1.dcm"});
            EXPECT_TRUE(served.disk.durableInbox()["quorin-x-1.dcm"].ends_with(dataSet));
        }
    }
}

TEST(Association, WritesAHeaderThatSaysWhatCame)
{
    Served served;

    served.association.take(storeOf("data"));

    const std::string file = served.disk.durableInbox()["quorin-x-1.dcm"];
    EXPECT_EQ(file.substr(128, 4), "DICM");
    for (const char *text : {kCtStorage, "1.2.3", kExplicitLittleEndian, "MODALITY", "QUORIN_"}) {
        EXPECT_NE(file.find(text), std::string::npos) << text;
    }
}

TEST(Association, HostileUidsKeepTheImageAndStayOutOfNameAndHeader)
{
    for (const std::string &uid : {std::string("../../../tmp/x"),
                                   std::string("1.2\0.3", 6),
                                   std::string(300, '1'),
                                   std::string("1/2"),
                                   std::string()}) {
        Served served;

        served.association.take(storeOf("data", uid));

        EXPECT_EQ(served.status(), kSuccess);
        const std::string file = served.disk.durableInbox()["quorin-x-1.dcm"];
        EXPECT_TRUE(file.ends_with("data"));
        EXPECT_LT(file.size(), 1000U);
        EXPECT_TRUE(uid.empty() || file.find(uid) == std::string::npos);
    }
}

TEST(Association, FragmentsOfOneCommandInTwoContextsBreakTheProtocol)
{
    Served served;
    const std::string command = commandSet(0x30, 1, kVerification, {}, false);
    const std::string whole = dataPdus(1, true, command, command.size() / 2);
    std::string torn = whole;
    torn[torn.size() - (command.size() - command.size() / 2) - 2] = 3; // the context of the last fragment

    EXPECT_NO_THROW(served.association.take(whole));
    EXPECT_THROW(served.association.take(torn), ProtocolError);
}

TEST(Association, AnswersAnEcho)
{
    Served served;

    served.association.take(dataPdus(1, true, commandSet(0x30, 1, kVerification, {}, false)));

    EXPECT_EQ(served.status(), kSuccess);
    EXPECT_TRUE(served.disk.inbox().empty());
}

TEST(Association, AFullDiskRefusesTheObjectTakesTheRestAndLivesOn)
{
    Served served;
    served.disk.failAt(3, -ENOSPC);

    served.association.take(storeOf(smallDataSet(kCtStorage, "1.2.3", 100000)));

    EXPECT_EQ(served.status(), kOutOfResources);
    EXPECT_EQ(served.association.refusedObjects(), 1);
    EXPECT_EQ(served.association.lastRefusal(), "No space left on device");
    served.association.take(storeOf("data", "1.2.4"));
    EXPECT_EQ(served.status(), kSuccess);
    EXPECT_EQ(served.stored, std::vector<std::string>{"quorin-x-2.dcm"});
}

TEST(Association, AFailureOfTheLastStepIsAnsweredToo)
{
    Served measured;
    measured.association.take(storeOf("data"));
    Served served;
    served.disk.failAt(measured.disk.operations(), -EIO);

    served.association.take(storeOf("data"));

    EXPECT_EQ(served.status(), kOutOfResources);
    EXPECT_TRUE(served.stored.empty());
}

TEST(Association, AnObjectWithoutADatasetIsRefused)
{
    Served served;

    served.association.take(dataPdus(1, true, commandSet(1, 7, kCtStorage, "1.2.3", false)));
    EXPECT_EQ(served.status(), kCannotUnderstand);

    served.association.take(storeOf({}));
    EXPECT_EQ(served.status(), kCannotUnderstand);
    EXPECT_EQ(served.association.refusedObjects(), 2);
    EXPECT_TRUE(served.disk.inbox().empty());
}

TEST(Association, AnUnknownOperationIsAnsweredAndItsDatasetPassedOver)
{
    Served served;

    served.association.take(dataPdus(1, true, commandSet(0x20, 7, kCtStorage, {})) +
                            dataPdus(1, false, "query"));

    EXPECT_EQ(served.status(), kUnrecognizedOperation);
    EXPECT_EQ(served.association.state(), Association::State::open);
}

TEST(Association, CancelsAndStrayResponsesGetNoAnswer)
{
    Served served;

    served.association.take(dataPdus(1, true, commandSet(0xFFF, 7, {}, {}, false)));
    served.association.take(dataPdus(1, true, commandSet(0x8001, 7, {}, {}, false)));

    EXPECT_TRUE(served.sent.empty());
}

TEST(Association, AnAnswerIsCutToTheLengthThatThePeerTakes)
{
    Served served(80);

    served.association.take(storeOf("data"));

    for (std::string_view rest = served.sent; !rest.empty();) {
        const auto length = static_cast<std::uint8_t>(rest.at(5));
        EXPECT_LE(length, 80);
        rest.remove_prefix(kPduHeaderBytes + length);
    }
}

TEST(Association, ReleaseIsAnswered)
{
    Served served;

    served.association.take(pdu(5, std::string(4, '\0')));

    EXPECT_EQ(served.association.state(), Association::State::released);
    EXPECT_EQ(served.sent, pdu(6, std::string(4, '\0')));
}

TEST(Association, WhatBreaksTheProtocolIsAnError)
{
    const std::string half = dataPdus(1, true, commandSet(1, 7, kCtStorage, "1.2.3"));
    const std::vector<std::string> broken{
        dataPdus(9, true, commandSet(1, 7, kCtStorage, "1.2.3")), // a context nobody proposed
        dataPdus(3, true, commandSet(1, 7, kCtStorage, "1.2.3")), // a context that was refused
        dataPdus(1, false, "data"),                               // a dataset out of nowhere
        half + half,                                              // a command inside an object
        half + pdu(5, std::string(4, '\0')),                      // a release inside an object
        dataPdus(1, true, "short"),                               // no command set
        dataPdus(1, true, std::string(70000, '\0')),              // an endless command set
        pdu(1, {}),                                               // another request
        pdu(99, {}),                                              // no PDU at all
        pdu(5, "longer"),                                         // a release of the wrong length
        pdu(4, std::string("\0\0\0\x09\1\1", 6)),                 // a value longer than its PDU
        pdu(4, std::string("\0\0\0\1\1\3", 6)),                   // a value shorter than its header
        pdu(4, "abc"),                                            // no value at all
    };
    for (std::size_t i = 0; i < broken.size(); ++i) {
        Served served;

        // The byte after the last lets a parser that waits for more of a broken value go on.
        EXPECT_THROW(served.association.take(broken[i] + std::string(8, '\0')), ProtocolError) << i;

        EXPECT_TRUE(served.stored.empty()) << i;
    }
}

TEST(Association, AnAbortInsideAnObjectLeavesNothing)
{
    {
        Served served;
        served.association.take(dataPdus(1, true, commandSet(1, 7, kCtStorage, "1.2.3")));
        EXPECT_TRUE(served.association.isInsideObject());

        served.association.take(pdu(7, std::string(4, '\0')));

        EXPECT_EQ(served.association.state(), Association::State::aborted);
        EXPECT_TRUE(served.sent.empty());
        EXPECT_TRUE(served.disk.inbox().empty());
    }
}

TEST(Association, AnObjectThatIsKeptButCannotBeAcknowledgedIsHandedOver)
{
    Served served;
    served.reachable = false;

    served.association.take(storeOf("data"));

    EXPECT_EQ(served.association.state(), Association::State::cut);
    EXPECT_EQ(served.stored.size(), 1U);
}

} // namespace gateway::dicom_helper::scp
