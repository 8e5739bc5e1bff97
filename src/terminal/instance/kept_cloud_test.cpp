#include "terminal/instance/kept_cloud.h"

#include "terminal/commands/command_requests.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

class KeptClouds : public ::testing::Test
{
protected:
    KeptClouds()
    {
        m_configuration.baseUrl = QUrl(u"https://archive.example/dicom-web"_qs);
        m_configuration.kind = cloud_client::CloudKind::dicomweb;
    }

    KeptCloud started(KeptCloud::Given given) { return {std::move(given), m_configuration, m_defaults}; }

    QString kept(const char *key)
    {
        return m_defaults.object(QString::fromLatin1(key)).value_or(QVariant()).toString();
    }

    /// What a request is refused with; empty when it is left to others.
    QString refusal(const KeptCloud &cloud, const ControlRequest &request)
    {
        QString error;
        const bool isAnswered =
            cloud.handle(request, [&error](const ControlReply &reply) { error = reply.error; });
        EXPECT_EQ(isAnswered, !error.isEmpty());
        return error;
    }

    QTemporaryDir m_home;
    platform::UserDefaults m_defaults{m_home.filePath(u"defaults.sqlite"_qs)};
    cloud_client::CloudConfiguration m_configuration;
};

TEST_F(KeptClouds, KeepWhatTheStartWasGivenOnceSomebodySignsIn)
{
    const KeptCloud cloud = started({u"https://archive.example/dicom-web"_qs, u"dicomweb"_qs});
    EXPECT_EQ(refusal(cloud, {requests::kStatus, {}}), QString());
    EXPECT_EQ(kept(cloud_client::kCloudBaseUrlKey), QString());

    EXPECT_EQ(refusal(cloud, {requests::kSignIn, {}}), QString());

    EXPECT_EQ(kept(cloud_client::kCloudBaseUrlKey), u"https://archive.example/dicom-web"_qs);
    EXPECT_EQ(kept(cloud_client::kCloudKindKey), u"dicomweb"_qs);
}

TEST_F(KeptClouds, KeepNothingThatOnlyTheEnvironmentSays)
{
    EXPECT_EQ(refusal(started({}), {requests::kSetup, {}}), QString());

    EXPECT_EQ(kept(cloud_client::kCloudBaseUrlKey), QString());
}

TEST_F(KeptClouds, RefuseACommandForAnotherOne)
{
    const KeptCloud cloud = started({});
    const auto naming = [](std::optional<QString> url, std::optional<QString> kind) {
        return withCloud({requests::kSignIn, {}}, {std::move(url), std::move(kind)});
    };

    EXPECT_EQ(refusal(cloud, naming(u"https://archive.example/dicom-web/"_qs, u"dicomweb"_qs)), QString());
    EXPECT_TRUE(refusal(cloud, naming(u"https://other.example"_qs, {})).contains(u"archive.example"_qs));
    EXPECT_TRUE(refusal(cloud, naming({}, u"quorin"_qs)).contains(u"(dicomweb)"_qs));
}

TEST_F(KeptClouds, TellAStartThatGoesElsewhere)
{
    const KeptCloud cloud = started({});
    EXPECT_FALSE(cloud.difference());

    m_defaults.setObject(QString::fromLatin1(cloud_client::kCloudBaseUrlKey),
                         u"https://archive.example/dicom-web/"_qs);
    EXPECT_FALSE(cloud.difference());

    m_defaults.setObject(QString::fromLatin1(cloud_client::kCloudBaseUrlKey), u"https://old.example"_qs);
    EXPECT_TRUE(cloud.difference()->contains(u"the settings keep https://old.example"_qs));
}

} // namespace
} // namespace gateway::terminal
