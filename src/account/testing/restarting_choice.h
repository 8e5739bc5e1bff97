#pragma once

#include "account/cloud_choice.h"

#include <QtCore/QUrl>

namespace gateway::account::testing {

/// The choice of a cloud, in a program whose restarts are counted.
///
/// Owner: a test. Thread: main.
struct RestartingChoice
{
    explicit RestartingChoice(platform::UserDefaults &kept) : defaults(kept)
    {
        configuration.baseUrl = QUrl(QString::fromLatin1(cloud_client::kBuiltInCloudAddress));
    }

    platform::UserDefaults &defaults;
    cloud_client::CloudConfiguration configuration;
    bool canRestart = true;
    int restarts = 0;
    CloudChoice choice{{configuration, defaults, [this] {
                            ++restarts;
                            return canRestart;
                        }}};
};

} // namespace gateway::account::testing
