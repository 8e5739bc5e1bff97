#include "receive/bonjour_record.h"

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

core::DCMListenerSettings settings()
{
    core::DCMListenerSettings settings;
    settings.aeTitle = u"\tGATE\n"_qs;
    settings.port = 104;
    settings.syntax = core::PreferredSyntaxForIncomingType::explicitLittleEndian;
    settings.advertiseWithBonjour = true;
    return settings;
}

TEST(BonjourRecord, HoldsTheEightKeys)
{
    const auto record = bonjourRecord(settings());

    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->name, u"GATE"_qs);
    EXPECT_EQ(record->port, 104);
    const QMap<QString, QByteArray> expected{{u"UID"_qs, "GATE"},
                                             {u"AETitle"_qs, "GATE"},
                                             {u"serverDescription"_qs, "GATE"},
                                             {u"Description"_qs, "GATE"},
                                             {u"CGET"_qs, "YES"},
                                             {u"prefferedSyntax"_qs, "Explicit Little Endian"},
                                             {u"icon"_qs, "desktopcomputer"},
                                             {u"isQueryable"_qs, "0"}};
    EXPECT_EQ(record->txt, expected);
}

TEST(BonjourRecord, IsAbsentWhenNotWantedOrNameless)
{
    core::DCMListenerSettings unwanted = settings();
    unwanted.advertiseWithBonjour = false;
    core::DCMListenerSettings nameless = settings();
    nameless.aeTitle = u"  "_qs;

    EXPECT_FALSE(bonjourRecord(unwanted).has_value());
    EXPECT_FALSE(bonjourRecord(nameless).has_value());
}

TEST(BonjourRecord, IsWantedWhenNothingIsSaid)
{
    core::DCMListenerSettings silent = settings();
    silent.advertiseWithBonjour = std::nullopt;

    EXPECT_TRUE(bonjourRecord(silent).has_value());
}

} // namespace
} // namespace gateway::receive
