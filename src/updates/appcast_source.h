#pragma once

#include "cloud_client/cloud_configuration.h"
#include "platform/concurrency/mutex.h"
#include "updates/own_build.h"
#include "updates/update_source.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

namespace gateway::updates {

/// Updates from a signed feed on the web. Redirects aren't followed, certificates are always verified.
///
/// Owner: AppcastUpdater's maker. Thread: any.
class AppcastSource final : public UpdateSource
{
public:
    struct Place
    {
        QUrl feed;
        cloud_client::CloudConfiguration reach; ///< authorities and proxy; its address doesn't matter
        QString folder;                         ///< for packages
    };

    AppcastSource(Place place, OwnBuild build);

    std::optional<AppcastItem> newerItem(std::stop_token stop) override;
    QString fetch(const AppcastItem &item, const Progress &progress, std::stop_token stop) override;

private:
    const Place m_place;
    const OwnBuild m_build;
    platform::Mutex m_fetching; // one at a time: a fetch that was ended may take a moment to end
};

} // namespace gateway::updates
