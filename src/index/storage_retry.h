#pragma once

#include "platform/concurrency/clock.h"
#include "platform/files/file_error.h"
#include "platform/sqlite/sqlite_error.h"

#include <chrono>
#include <stop_token>

namespace gateway::index {

/// Waits out storage trouble that may pass: repeats what failed with it, with growing pauses, until half a
/// minute of pauses is used up.
///
/// Owner: one operation, all of whose steps share the half minute. Thread: the operation's.
class StorageRetry
{
public:
    StorageRetry(platform::Clock &clock, std::stop_token stop) : m_clock(clock), m_stop(std::move(stop)) {}

    /// Calls `step` until it ends well, and gives its result. What it throws comes out when it isn't trouble
    /// that may pass, when the time is used up, or when the owner stops.
    template <typename Step>
    auto untilDone(Step step)
    {
        for (;;) {
            try {
                return step();
            } catch (const platform::FileError &error) {
                if (!error.maySucceedLater() || !pause()) {
                    throw;
                }
            } catch (const platform::SqliteError &error) {
                if (!error.maySucceedLater() || !pause()) {
                    throw;
                }
            }
        }
    }

private:
    /// \return false when there is nothing left to wait for.
    bool pause();

    platform::Clock &m_clock;
    std::stop_token m_stop;
    std::chrono::milliseconds m_next{100};
    std::chrono::milliseconds m_left = std::chrono::seconds(30);
};

} // namespace gateway::index
