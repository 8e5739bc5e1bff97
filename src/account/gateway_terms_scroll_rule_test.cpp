#include "account/gateway_terms_scroll_rule.h"

#include <gtest/gtest.h>

namespace gateway::account {

TEST(GatewayTermsScrollRule, WaitsForTheEndOfALongText)
{
    GatewayTermsScrollRule rule;
    EXPECT_FALSE(rule.hasScrolledToBottom());

    rule.bottomMoved(GatewayTermsScrollRule::kUnmeasured, 400.0);
    rule.bottomMoved(2000.0, 400.0);

    EXPECT_FALSE(rule.hasScrolledToBottom());
}

TEST(GatewayTermsScrollRule, CountsATextShorterThanTheViewAsReadAtOnce)
{
    GatewayTermsScrollRule rule;

    rule.bottomMoved(120.0, 400.0);

    EXPECT_TRUE(rule.hasScrolledToBottom());
}

TEST(GatewayTermsScrollRule, TakesTheEndAsSeenAtExactlyEightPointsBelowTheView)
{
    GatewayTermsScrollRule rule;

    rule.bottomMoved(408.1, 400.0);
    EXPECT_FALSE(rule.hasScrolledToBottom());
    rule.bottomMoved(408.0, 400.0);

    EXPECT_TRUE(rule.hasScrolledToBottom());
}

TEST(GatewayTermsScrollRule, StaysReadWhenTheUserScrollsBackOrTheTextGrows)
{
    GatewayTermsScrollRule rule;
    rule.bottomMoved(400.0, 400.0);

    rule.bottomMoved(2000.0, 400.0);

    EXPECT_TRUE(rule.hasScrolledToBottom());
}

} // namespace gateway::account
