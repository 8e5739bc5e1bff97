#include "receive/network_address.h"

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

TEST(NetworkAddress, PrefersTheBetterRankedInterface)
{
    EXPECT_EQ(primaryAddress({{u"wlan0"_qs, u"10.0.0.1"_qs},
                              {u"pdp_ip0"_qs, u"10.0.0.2"_qs},
                              {u"bridge0"_qs, u"10.0.0.3"_qs},
                              {u"enp1s0"_qs, u"10.0.0.4"_qs}}),
              u"10.0.0.4"_qs);
}

TEST(NetworkAddress, TakesTheFirstOnATie)
{
    EXPECT_EQ(primaryAddress({{u"en1"_qs, u"10.0.0.1"_qs}, {u"en0"_qs, u"10.0.0.2"_qs}}), u"10.0.0.1"_qs);
}

TEST(NetworkAddress, PassesOverLoopbackAndWhatIsDown)
{
    EXPECT_EQ(primaryAddress({{u"lo"_qs, u"127.0.0.1"_qs, true, true},
                              {u"en0"_qs, u"10.0.0.1"_qs, false, false},
                              {u"en1"_qs, {}, true, false}}),
              std::nullopt);
}

TEST(NetworkAddress, ReadsAsUnavailableWithoutOne)
{
    EXPECT_EQ(addressText(std::nullopt, 1115), u"Unavailable"_qs);
    EXPECT_EQ(addressText(u"10.0.0.1"_qs, std::nullopt), u"10.0.0.1"_qs);
    EXPECT_EQ(addressText(u"10.0.0.1"_qs, 1115), u"10.0.0.1:1115"_qs);
}

TEST(NetworkAddress, IsTheOneThatAListenerBindsWhereThereIsOne)
{
    EXPECT_EQ(listenerAddressText(u"10.0.0.9"_qs, 1115), u"10.0.0.9:1115"_qs);
    EXPECT_EQ(listenerAddressText({}, 1115), addressText(primaryAddress(interfaceAddresses()), 1115));
}

TEST(NetworkAddress, ListsTheLoopbackOfThisMachine)
{
    bool found = false;
    for (const InterfaceAddress &address : interfaceAddresses()) {
        found = found || (address.address == u"127.0.0.1"_qs && address.isLoopback);
    }
    EXPECT_TRUE(found);
}

} // namespace
} // namespace gateway::receive
