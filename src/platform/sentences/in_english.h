#pragma once

namespace gateway::platform {

/// While one lives, what its thread translates stays English: a command line and a machine are answered so
/// in whatever language the windows of the same program are.
///
/// Owner: whoever writes an answer, on the stack; never across a co_await. Thread: the one that made it.
class InEnglish
{
public:
    InEnglish() noexcept;
    ~InEnglish();

    InEnglish(const InEnglish &) = delete;
    InEnglish &operator=(const InEnglish &) = delete;

    /// Whether one lives on this thread; asked by whoever translates.
    static bool isWanted() noexcept;
};

} // namespace gateway::platform
