#pragma once

#include <QtCore/QString>

#include <cstdint>

namespace gateway::cloud_client {

/// One session with a cloud, from a sign-in to its end. What goes out in it and what is answered there belong
/// together: an answer in another session proves nothing of what went in this one.
///
/// Thread: a value, any.
struct CloudSession
{
    QString cloud = {};      ///< names the cloud and the account there; empty while nobody is signed in
    std::int64_t number = 0; ///< tells the sessions of this process apart, also those of one account

    bool isSignedIn() const { return !cloud.isEmpty(); }

    bool operator==(const CloudSession &) const = default;
};

} // namespace gateway::cloud_client
