#include "platform/dicom/listener_refusal.h"

#include "platform/dicom_protocol/words.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace gateway::platform {
namespace {

namespace refusal = dicom_protocol::refusal;
using dicom_protocol::Record;

QString said(const Record &record)
{
    return refusalSentence(record).inEnglish();
}

TEST(ListenerRefusal, NamesWhatIsRefusedAndWhy)
{
    Record folder{"refused", {{"code", refusal::kFolderUnusable}, {"folder", "/a %2/b"}}};
    folder.setNumber("error", ENOTDIR);
    EXPECT_EQ(said(folder), u"The incoming folder /a %2/b can't be used: Not a directory."_qs);
    EXPECT_EQ(said({"refused", {{"code", refusal::kPortTaken}, {"port", "104"}}}),
              u"Port 104 is already in use by another program."_qs);
}

TEST(ListenerRefusal, HasASentenceForEachCode)
{
    for (const char *code : {refusal::kFolderUnusable,
                             refusal::kFolderCannotSync,
                             refusal::kFolderCannotKeepTimes,
                             refusal::kFolderExchanged,
                             refusal::kAddressUnknown,
                             refusal::kAddressNotHere,
                             refusal::kPortTaken,
                             refusal::kPortReserved,
                             refusal::kPortImpossible,
                             refusal::kPortUnusable}) {
        const QString words = said(
            {"refused",
             {{"code", code}, {"folder", "here"}, {"address", "here"}, {"port", "here"}, {"error", "13"}}});
        EXPECT_TRUE(words.contains(u" here"_qs)) << code;
        EXPECT_FALSE(words.contains(u'%')) << code;
    }
}

TEST(ListenerRefusal, SaysWhatItIsToldWhereItKnowsNoCode)
{
    EXPECT_EQ(said({"refused", {{"code", "new"}, {"message", "poll: out of memory"}}}),
              u"poll: out of memory"_qs);
    EXPECT_EQ(said({"refused", {}}), u"The DICOM listener can't listen."_qs);
}

} // namespace
} // namespace gateway::platform
