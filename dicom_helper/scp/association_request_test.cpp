#include "dicom_helper/scp/association_request.h"

#include "dicom_helper/scp/negotiation.h"
#include "dicom_helper/scp/protocol_error.h"
#include "dicom_helper/scp/sop_classes.h"
#include "platform/dicom/testing/scripted_modality.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcuid.h>

#include <gtest/gtest.h>

namespace gateway::dicom_helper::scp {

using platform::testing::associateRequest;
using platform::testing::kCtStorage;
using platform::testing::kExplicitLittleEndian;
using platform::testing::kImplicitLittleEndian;
using platform::testing::kVerification;
using platform::testing::OfferedContext;
using platform::testing::pdu;

namespace {

AssociationRequest parse(const std::string &pdu)
{
    return parseAssociationRequest(std::string_view(pdu).substr(kPduHeaderBytes));
}

AssociationRequest requestFor(const std::vector<OfferedContext> &contexts)
{
    return parse(associateRequest(contexts));
}

ContextResult resultOf(const std::string &sopClass, const std::vector<std::string> &syntaxes)
{
    return Negotiation(requestFor({{1, sopClass, syntaxes}})).answers().front().result;
}

} // namespace

TEST(AssociationRequest, IsReadWhole)
{
    const AssociationRequest request =
        parse(associateRequest({{1, kCtStorage, {"1.2", "1.3"}}, {3, "1.9", {}}}));

    EXPECT_EQ(request.protocolVersion, 1);
    EXPECT_EQ(request.callingTitle, "MODALITY");
    EXPECT_EQ(request.titles.substr(0, 16), "QUORIN          ");
    EXPECT_EQ(request.applicationContext, "1.2.840.10008.3.1.1.1");
    EXPECT_EQ(request.maximumLength, 16384U);
    ASSERT_EQ(request.contexts.size(), 2U);
    EXPECT_EQ(request.contexts[0].abstractSyntax, kCtStorage);
    EXPECT_EQ(request.contexts[0].transferSyntaxes, (std::vector<std::string>{"1.2", "1.3"}));
    EXPECT_EQ(request.contexts[1].id, 3);
}

TEST(AssociationRequest, PaddedUidsCountWithoutTheirPadding)
{
    const AssociationRequest request = requestFor({{1, std::string("1.2.3\0", 6), {"1.2 "}}});

    EXPECT_EQ(request.contexts[0].abstractSyntax, "1.2.3");
    EXPECT_EQ(request.contexts[0].transferSyntaxes[0], "1.2");
}

TEST(AssociationRequest, EveryTruncationIsRefusedOrSaysLess)
{
    const std::string whole = associateRequest({{1, kCtStorage, {"1.2"}}});
    const std::size_t userInformation = whole.size() - (4 + 8 + 4 + 6);
    const std::size_t context = userInformation - (4 + 4 + 4 + sizeof(kCtStorage) - 1 + 4 + 3);
    const std::size_t applicationContext = context - 25;

    for (std::size_t size = kPduHeaderBytes; size < whole.size(); ++size) {
        const bool endsAtAnItem = size == userInformation || size == context || size == applicationContext;
        if (endsAtAnItem) {
            EXPECT_NO_THROW(parse(whole.substr(0, size))) << size;
        } else {
            EXPECT_THROW(parse(whole.substr(0, size)), ProtocolError) << size;
        }
    }
}

TEST(AssociationRequest, AnItemLongerThanItsHolderIsRefused)
{
    std::string bytes = associateRequest({{1, kCtStorage, {"1.2"}}});
    bytes[bytes.size() - 8] = '\xFF'; // the length of the last sub-item

    EXPECT_THROW(parse(bytes), ProtocolError);
}

TEST(Negotiation, TakesVerificationAndStorageKnownRetiredAndPrivate)
{
    for (const char *uid : {kVerification,
                            kCtStorage,
                            "1.2.840.10008.5.1.4.1.1.6",     // retired ultrasound
                            "1.2.840.10008.5.1.1.27",        // retired stored print
                            "1.2.840.10008.5.1.1.30",        // retired hardcopy colour
                            "1.2.840.10008.5.1.4.38.1",      // hanging protocol
                            "1.2.840.10008.5.1.4.1.1.99999", // yet to come
                            "1.3.46.670589.2.3.1.1",
                            "1.3.6.1.4.1.99999.7"}) {
        EXPECT_EQ(resultOf(uid, {kImplicitLittleEndian}), ContextResult::acceptance) << uid;
    }
}

TEST(Negotiation, TakesEveryStorageClassThatTheToolkitKnows)
{
    for (int i = 0; i < numberOfDcmAllStorageSOPClassUIDs; ++i) {
        EXPECT_TRUE(isTakenSopClass(dcmAllStorageSOPClassUIDs[i])) << dcmAllStorageSOPClassUIDs[i];
    }
}

TEST(Negotiation, RefusesServicesOtherThanStorage)
{
    for (const char *uid : {UID_FINDPatientRootQueryRetrieveInformationModel,
                            UID_MOVEStudyRootQueryRetrieveInformationModel,
                            UID_GETStudyRootQueryRetrieveInformationModel,
                            UID_FINDModalityWorklistInformationModel,
                            UID_ModalityPerformedProcedureStepSOPClass,
                            UID_StorageCommitmentPushModelSOPClass,
                            UID_BasicGrayscalePrintManagementMetaSOPClass,
                            UID_BasicFilmSessionSOPClass,
                            UID_PresentationLUTSOPClass,
                            UID_UnifiedProcedureStepPushSOPClass,
                            UID_InstanceAvailabilityNotificationSOPClass,
                            UID_FINDHangingProtocolInformationModel,
                            UID_MOVEColorPaletteInformationModel,
                            UID_MediaStorageDirectoryStorage}) {
        EXPECT_EQ(resultOf(uid, {kImplicitLittleEndian}), ContextResult::abstractSyntaxNotSupported) << uid;
    }
}

TEST(Negotiation, TakesTheFirstTransferSyntaxSinceTheSenderKnowsWhatItHolds)
{
    EXPECT_EQ(chooseTransferSyntax({"1.2.840.10008.1.2.4.80", kExplicitLittleEndian}),
              "1.2.840.10008.1.2.4.80");
    EXPECT_EQ(chooseTransferSyntax({"1.3.6.1.4.1.99999.2"}), "1.3.6.1.4.1.99999.2");
    EXPECT_EQ(chooseTransferSyntax({kExplicitLittleEndian, "1.2.840.10008.1.2.4.80"}), kExplicitLittleEndian);
}

TEST(Negotiation, PrefersExplicitLittleEndianToTheOtherNativeOnes)
{
    EXPECT_EQ(chooseTransferSyntax({kImplicitLittleEndian, kExplicitLittleEndian}), kExplicitLittleEndian);
    EXPECT_EQ(chooseTransferSyntax({"1.2.840.10008.1.2.2", kExplicitLittleEndian}), kExplicitLittleEndian);
    EXPECT_EQ(chooseTransferSyntax({kImplicitLittleEndian, "1.2.840.10008.1.2.4.80"}), kImplicitLittleEndian);
}

TEST(Negotiation, ATransferSyntaxThatIsNoUidIsPassedOver)
{
    EXPECT_EQ(chooseTransferSyntax({"../../etc", kImplicitLittleEndian}), kImplicitLittleEndian);
    EXPECT_EQ(resultOf(kCtStorage, {"../../etc", std::string(65, '1')}),
              ContextResult::transferSyntaxesNotSupported);
    EXPECT_EQ(resultOf(kCtStorage, {}), ContextResult::transferSyntaxesNotSupported);
}

TEST(Negotiation, AnIdThatComesTwiceKeepsOneTransferSyntax)
{
    const Negotiation negotiation(requestFor({{1, kCtStorage, {"1.2.3", "1.2.4"}},
                                              {1, "1.2.840.10008.5.1.4.1.1.4", {"1.2.4", "1.2.3"}},
                                              {1, "1.2.840.10008.5.1.4.1.1.7", {"1.2.5"}}}));

    EXPECT_EQ(negotiation.transferSyntax(1), "1.2.3");
    EXPECT_EQ(negotiation.answers()[1].result, ContextResult::acceptance);
    EXPECT_EQ(negotiation.answers()[1].transferSyntax, "1.2.3");
    EXPECT_EQ(negotiation.answers()[2].result, ContextResult::userRejection);
}

} // namespace gateway::dicom_helper::scp
