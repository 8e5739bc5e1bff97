#include "account/device_sign_in.h"

#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <utility>

namespace gateway::account {

namespace {

using cloud_client::DeviceAnswer;
using cloud_client::DeviceCode;
using std::chrono::seconds;

/// What a service that is asked too often is given more (RFC 8628 3.5).
constexpr seconds kSlower{5};

/// Between two questions while none is answered.
constexpr seconds kLongestPause{60};

QString wordsOf(const std::exception &error)
{
    return cloud_client::userFacingMessage(error,
                                           QCoreApplication::translate("DeviceSignIn", "Sign in failed."));
}

/// A question and how it went.
struct Asked
{
    DeviceAnswer answer = {};
    QString problem = {};                             // it comes to nothing
    bool isUnanswered = false;                        // for now
    std::optional<seconds> retryAfter = std::nullopt; // how long to leave the service alone
};

QCoro::Task<Asked> askOnce(DeviceSignInParts parts, cloud_client::ArchiveSignIn signIn, QString deviceCode)
{
    Asked asked;
    try {
        const DeviceAnswer answer =
            co_await platform::onPool(parts.main, parts.pool, [api = &parts.api, signIn, deviceCode] {
                return api->ask(signIn, deviceCode);
            });
        asked.answer = answer;
    } catch (const cloud_client::AFError &error) {
        asked.isUnanswered = true;
        asked.retryAfter = error.retryAfter;
    } catch (const std::exception &error) {
        asked.problem = wordsOf(error);
    }
    co_return asked;
}

seconds pauseAfter(const Asked &asked, seconds pause)
{
    if (asked.isUnanswered) {
        return std::max(std::min(2 * pause, std::max(pause, kLongestPause)),
                        asked.retryAfter.value_or(seconds(0)));
    }
    return asked.answer.isTooOften ? pause + kSlower : pause;
}

QCoro::Task<DeviceSignInEnd> waitForPerson(DeviceSignInParts parts,
                                           cloud_client::ArchiveSignIn signIn,
                                           DeviceCode code,
                                           std::stop_token stop)
{
    const std::chrono::nanoseconds end = parts.clock.monotonic() + code.lifetime;
    seconds pause = code.interval;
    bool isAnswered = true;
    while (parts.clock.monotonic() + pause <= end) {
        const bool sleptThrough = co_await platform::asyncSleep(parts.main, parts.clock, pause, stop);
        if (!sleptThrough) {
            co_return DeviceSignInEnd{
                .problem = QCoreApplication::translate("DeviceSignIn", "The sign-in was given up.")};
        }
        Asked asked = co_await askOnce(parts, signIn, code.deviceCode);
        if (asked.answer.tokens || !asked.problem.isEmpty()) {
            co_return DeviceSignInEnd{std::move(asked.answer.tokens), asked.problem};
        }
        isAnswered = !asked.isUnanswered;
        pause = pauseAfter(asked, pause);
    }
    co_return DeviceSignInEnd{
        .problem = isAnswered
                       ? QCoreApplication::translate(
                             "DeviceSignIn", "The code is over before somebody has entered it; begin again.")
                       : QCoreApplication::translate(
                             "DeviceSignIn",
                             "The sign-in service didn't answer until the code was over; begin again.")};
}

} // namespace

QCoro::Task<DeviceSignInEnd> signInByCode(DeviceSignInParts parts,
                                          cloud_client::ArchiveSignIn signIn,
                                          std::function<void(const DeviceCode &)> show,
                                          std::stop_token stop)
{
    DeviceCode code;
    QString problem;
    try {
        const DeviceCode given = co_await platform::onPool(
            parts.main, parts.pool, [api = &parts.api, signIn] { return api->begin(signIn); });
        code = given;
    } catch (const std::exception &error) {
        problem = wordsOf(error);
    }
    if (!problem.isEmpty()) {
        co_return DeviceSignInEnd{.problem = problem};
    }
    show(code);
    DeviceSignInEnd end = co_await waitForPerson(parts, std::move(signIn), std::move(code), std::move(stop));
    co_return end;
}

} // namespace gateway::account
