#pragma once

#include "upload/store_upload.h"

#include <QtCore/QDateTime>
#include <QtCore/QtGlobal>

#include <utility>
#include <vector>

namespace gateway::upload {

/// Is told what upload runs do, as it happens. Nothing here blocks or throws.
///
/// Thread: any, several at a time.
class RunObserver
{
public:
    virtual ~RunObserver() = default;

    virtual void runStarted(const StoreUpload::ExecutionConfig & /*orders*/) {}

    /// \param at  when, in UTC.
    virtual void runFinished(const StoreUpload::RunSummary & /*summary*/, const QDateTime & /*at*/) {}

    /// The cloud took a request that carried so many bytes of files.
    virtual void requestSucceeded(qint64 /*bytes*/) {}

    /// How the upload of one file ended; tried again it ends again.
    ///
    /// \param isSynced  the cloud is proven to hold it.
    virtual void fileEnded(bool /*isSynced*/) {}
};

/// Several observers as one.
///
/// Owner: the assembly. Thread: any.
class RunObservers final : public RunObserver
{
public:
    /// \param observers  outlive this.
    explicit RunObservers(std::vector<RunObserver *> observers) : m_observers(std::move(observers)) {}

    void runStarted(const StoreUpload::ExecutionConfig &orders) override
    {
        tell(&RunObserver::runStarted, orders);
    }
    void runFinished(const StoreUpload::RunSummary &summary, const QDateTime &at) override
    {
        tell(&RunObserver::runFinished, summary, at);
    }
    void requestSucceeded(qint64 bytes) override { tell(&RunObserver::requestSucceeded, bytes); }
    void fileEnded(bool isSynced) override { tell(&RunObserver::fileEnded, isSynced); }

private:
    template <typename... Facts>
    void tell(void (RunObserver::*what)(Facts...), const auto &...facts) const
    {
        for (RunObserver *observer : m_observers) {
            (observer->*what)(facts...);
        }
    }

    const std::vector<RunObserver *> m_observers;
};

} // namespace gateway::upload
