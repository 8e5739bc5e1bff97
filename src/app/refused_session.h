#pragma once

#include "account/quorin_auth_view_model.h"
#include "platform/concurrency/main_executor.h"
#include "upload/run_observer.h"

namespace gateway::app {

/// An upload that is refused for its session, or finds none, shows that the last look at the session may be
/// out of date: who renews the tokens of an archive ends a session without a word.
///
/// Owner: Sending. Thread: any.
class RefusedSession final : public upload::RunObserver
{
public:
    /// Both outlive this, and `auth` the last block of `main`.
    RefusedSession(platform::MainExecutor &main, account::QuorinAuthViewModel &auth)
        : m_main(main), m_auth(auth)
    {
    }

    void runFinished(const upload::StoreUpload::RunSummary &summary, const QDateTime & /*at*/) override
    {
        const bool isRefused =
            summary.trouble && summary.trouble->failure.failureClass == core::FailureClass::sessionEnded;
        if (isRefused || summary.missingToken) {
            m_main.post([&auth = m_auth] { auth.refusedElsewhere(); });
        }
    }

private:
    platform::MainExecutor &m_main;
    account::QuorinAuthViewModel &m_auth;
};

} // namespace gateway::app
