#include "cloud_client/retry_after.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/quorin_error.h"

#include <gtest/gtest.h>

namespace gateway::cloud_client {

namespace {

using namespace std::chrono_literals;

const QDateTime kNow(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);

std::optional<std::chrono::seconds> parsed(const char *value)
{
    return parseRetryAfter(value, kNow);
}

HttpResponse refusal(const QByteArray &contentType, const QByteArray &body)
{
    HttpResponse response{.status = 503, .contentType = contentType, .body = body};
    response.retryAfter = 17s;
    return response;
}

} // namespace

TEST(RetryAfter, IsReadAsSecondsOrAsADate)
{
    EXPECT_EQ(parsed("120"), 120s);
    EXPECT_EQ(parsed(" 0 "), 0s);
    EXPECT_EQ(parsed("Thu, 01 Jan 2026 12:05:00 GMT"), 300s);
}

TEST(RetryAfter, IsAnHourAtMostAndNeverBeforeNow)
{
    EXPECT_EQ(parsed("86400"), 1h);
    EXPECT_EQ(parsed("99999999999999999999999"), 1h);
    EXPECT_EQ(parsed("Fri, 02 Jan 2026 12:00:00 GMT"), 1h);
    EXPECT_EQ(parsed("Thu, 01 Jan 2026 11:00:00 GMT"), 0s);
}

TEST(RetryAfter, ThatCanNotBeReadIsNone)
{
    for (const char *value : {"", "soon", "-5", "1.5", "12 s", "Thu, 99 Jan 2026 12:00:00 GMT"}) {
        EXPECT_EQ(parsed(value), std::nullopt) << value;
    }
}

TEST(RetryAfter, TravelsWithTheErrorWhetherTheServiceHadWordsOrNot)
{
    for (const HttpResponse &response :
         {refusal("text/html", "<html>"), refusal("application/problem+json", R"({"kind": 9})")}) {
        try {
            throwAnswerError(response);
        } catch (const QuorinError &error) {
            EXPECT_EQ(error.retryAfter, 17s);
        }
    }
}

} // namespace gateway::cloud_client
