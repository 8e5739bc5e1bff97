#include "terminal/commands/suggested_commands.h"

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

TEST(SuggestedCommands, StayAsTheyAreWhereNothingWasTold)
{
    const QString text = u"Run: quorin-gateway terms show"_qs;

    EXPECT_EQ(withOptions(text, {}), text);
}

TEST(SuggestedCommands, NameTheHomeAndTheCloudThatThisRunWasTold)
{
    const GlobalOptions options{.home = u"/srv/gate"_qs,
                                .cloudUrl = u"https://pacs.example/dicom-web"_qs,
                                .cloudKind = u"dicomweb"_qs};

    EXPECT_EQ(withOptions(u"Start one with: quorin-gateway --headless, or look: quorin-gateway status."_qs,
                          options),
              u"Start one with: quorin-gateway --home /srv/gate --cloud https://pacs.example/dicom-web "
              "--cloud-kind dicomweb --headless, or look: quorin-gateway --home /srv/gate --cloud "
              "https://pacs.example/dicom-web --cloud-kind dicomweb status."_qs);
}

TEST(SuggestedCommands, CanBeTypedAsTheyStand)
{
    const GlobalOptions options{.home = u"/srv/Bob's \\images"_qs};

    EXPECT_EQ(withOptions(u"quorin-gateway status"_qs, options),
              u"quorin-gateway --home '/srv/Bob'\\''s \\images' status"_qs);
}

TEST(SuggestedCommands, LeaveAUserOfTheProgramsNameAlone)
{
    const GlobalOptions options{.home = u"/var/lib/quorin-gateway"_qs};

    EXPECT_EQ(withOptions(u"Type: sudo -u quorin-gateway quorin-gateway status"_qs, options),
              u"Type: sudo -u quorin-gateway quorin-gateway --home /var/lib/quorin-gateway status"_qs);
}

} // namespace
} // namespace gateway::terminal
