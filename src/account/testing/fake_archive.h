#pragma once

#include "account/archive_sign_in_view_model.h"
#include "account/testing/scripted_grants.h"
#include "account/testing/session_world.h"
#include "cloud_client/cloud_configuration.h"

namespace gateway::account::testing {

/// The way of signing in at an archive, over the service of a session's world.
///
/// Owner: a test. Thread: main.
struct FakeArchive
{
    explicit FakeArchive(SessionWorld &world)
        : model({.auth = world.auth,
                 .settings = world.settings,
                 .configuration = configuration,
                 .deviceGrants = grants,
                 .trial = [this](const std::stop_token &) { return found; },
                 .main = world.main,
                 .pool = world.pool,
                 .clock = world.clock})
    {
        world.service.password = QString(); // an archive's sign-in has its own
        configuration.baseUrl = QUrl(QStringLiteral("https://ann:pw@archive.example/dicom-web"));
    }

    cloud_client::CloudConfiguration configuration;
    ScriptedGrants grants;
    QList<cloud_client::TrialStep> found{
        {QStringLiteral("name"), cloud_client::TrialStep::Outcome::good, QStringLiteral("There.")}};
    ArchiveSignInViewModel model;
};

} // namespace gateway::account::testing
