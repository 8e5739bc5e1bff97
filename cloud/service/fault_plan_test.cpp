#include "cloud/service/fault_plan.h"

#include "cloud/http/problem.h"
#include "cloud/service/fault_json.h"

#include <QtCore/QJsonArray>

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

TEST(FaultPlan, AppliesARuleToSoManyRequestsOfItsPath)
{
    FaultPlan plan;
    FaultRule rule;
    rule.method = "POST";
    rule.pathPrefix = "/dicom-web";
    rule.count = 2;
    plan.add(rule);

    EXPECT_FALSE(plan.take("GET", "/dicom-web/studies"));
    EXPECT_FALSE(plan.take("POST", "/api/v1/ping"));
    EXPECT_TRUE(plan.take("POST", "/dicom-web/studies"));
    EXPECT_TRUE(plan.take("POST", "/dicom-web"));
    EXPECT_FALSE(plan.take("POST", "/dicom-web/studies"));
}

TEST(FaultPlan, UsesUpTheOldestRuleFirstAndKeepsEndlessOnes)
{
    FaultPlan plan;
    FaultRule once;
    once.status = 500;
    FaultRule always;
    always.status = 503;
    always.count = std::nullopt;
    plan.add(once);
    plan.add(always);

    EXPECT_EQ(plan.take("GET", "/")->status, 500);
    EXPECT_EQ(plan.take("GET", "/")->status, 503);
    EXPECT_EQ(plan.take("GET", "/")->status, 503);
    plan.clear();
    EXPECT_FALSE(plan.take("GET", "/"));
}

TEST(FaultPlan, RefusesNamedInstancesUntilTheirCountIsUsedUp)
{
    FaultPlan plan;
    plan.refuse(QStringLiteral("1"), 0x0110, std::nullopt);
    plan.refuse(QStringLiteral("2"), 0xB00E, 1);

    EXPECT_EQ(plan.takeRefusal(QStringLiteral("1")), 0x0110);
    EXPECT_EQ(plan.takeRefusal(QStringLiteral("1")), 0x0110);
    EXPECT_EQ(plan.takeRefusal(QStringLiteral("2")), 0xB00E);
    EXPECT_EQ(plan.takeRefusal(QStringLiteral("2")), std::nullopt);
    EXPECT_EQ(plan.takeRefusal(QStringLiteral("3")), std::nullopt);
}

TEST(FaultJson, ReadsEveryMember)
{
    const FaultRule rule = faultFromJson(
        {{QStringLiteral("method"), QStringLiteral("GET")},
         {QStringLiteral("path"), QStringLiteral("/x")},
         {QStringLiteral("count"), QJsonValue()},
         {QStringLiteral("status"), 429},
         {QStringLiteral("body"), QStringLiteral("<html>")},
         {QStringLiteral("contentType"), QStringLiteral("text/html")},
         {QStringLiteral("headers"), QJsonObject{{QStringLiteral("Retry-After"), QStringLiteral("3")}}},
         {QStringLiteral("delayMs"), 20},
         {QStringLiteral("bytesPerSecond"), 0},
         {QStringLiteral("cutAfterBodyBytes"), 9},
         {QStringLiteral("cutBeforeAnswer"), true}});

    EXPECT_EQ(rule.method, "GET");
    EXPECT_EQ(rule.pathPrefix, "/x");
    EXPECT_EQ(rule.count, std::nullopt);
    EXPECT_EQ(rule.status, 429);
    EXPECT_EQ(rule.body, "<html>");
    EXPECT_EQ(rule.contentType, "text/html");
    EXPECT_EQ(rule.headers.at("Retry-After"), "3");
    EXPECT_EQ(rule.delay, std::chrono::milliseconds(20));
    EXPECT_EQ(rule.bytesPerSecond, 1U); // a rate of nothing would never end
    EXPECT_EQ(rule.cutAfterBodyBytes, 9U);
    EXPECT_TRUE(rule.cutBeforeAnswer);
    EXPECT_EQ(toJson(rule).value(QStringLiteral("status")).toInt(), 429);
}

TEST(FaultJson, RefusesMistypedAndUnknownMembers)
{
    EXPECT_THROW(faultFromJson({{QStringLiteral("staus"), 500}}), HttpProblem);
    EXPECT_THROW(faultFromJson({{QStringLiteral("status"), QStringLiteral("500")}}), HttpProblem);
    EXPECT_THROW(faultFromJson({{QStringLiteral("delayMs"), -1}}), HttpProblem);
    EXPECT_THROW(faultFromJson({{QStringLiteral("cutBeforeAnswer"), 1}}), HttpProblem);
}

} // namespace
} // namespace gateway::cloud
