#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <functional>
#include <memory>
#include <utility>

namespace gateway::platform {

/// Lets subsystems that don't know each other talk by name.
///
/// Thread: any. Handlers run on the posting thread, in the order in which they were registered, with no
/// lock held, so a handler may post, observe and unsubscribe.
class NotificationCenter
{
public:
    using Handler = std::function<void(const QVariantMap &userInfo)>;

    /// Ends the observation when it dies. A handler that already runs on another thread may still be
    /// running when the token is gone: what it uses it holds weakly.
    class Token
    {
    public:
        Token() = default;
        explicit Token(std::function<void()> cancel) : m_cancel(std::move(cancel)) {}
        ~Token() { reset(); }
        Token(Token &&other) noexcept : m_cancel(std::exchange(other.m_cancel, nullptr)) {}
        Token &operator=(Token &&other) noexcept
        {
            if (this != &other) {
                reset();
                m_cancel = std::exchange(other.m_cancel, nullptr);
            }
            return *this;
        }

        /// Ends the observation now.
        void reset()
        {
            if (m_cancel) {
                std::exchange(m_cancel, nullptr)();
            }
        }

    private:
        std::function<void()> m_cancel;
    };

    NotificationCenter();
    ~NotificationCenter();

    NotificationCenter(const NotificationCenter &) = delete;
    NotificationCenter &operator=(const NotificationCenter &) = delete;

    /// Calls `handler` for each later post of `name`, until the token dies.
    [[nodiscard]] Token observe(const QString &name, Handler handler);

    /// Calls the handlers of `name` on this thread and returns when all have run.
    void post(const QString &name, const QVariantMap &userInfo = {});

private:
    struct Registry; // shared with the tokens, so that a token may outlive the centre
    std::shared_ptr<Registry> m_registry;
};

} // namespace gateway::platform
