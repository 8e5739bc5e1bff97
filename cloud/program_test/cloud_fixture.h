#pragma once

#include "cloud/testing/cloud_process.h"
#include "cloud/testing/dicom_builder.h"
#include "cloud/testing/http_client.h"

#include <gtest/gtest.h>

namespace gateway::cloud::testing {

/// The built program with one user and `/control`, started anew for each case; its end is checked to be a
/// clean one.
///
/// Owner: the test framework. Thread: main.
class CloudTest : public ::testing::Test
{
protected:
    /// \param waitsForDisk  starts the server as sites do. Most cases do without, since nothing in them
    /// depends on it.
    explicit CloudTest(bool waitsForDisk = false);

    void SetUp() override;
    void TearDown() override;

    HttpClient client() const { return HttpClient(m_cloud.url()); }

    /// A client with a fresh session.
    HttpClient signedIn() const;

    /// What `/control` answers, or does.
    HttpAnswer control(const QString &path) const { return client().get(QStringLiteral("/control/") + path); }
    void steer(const QString &path, const QJsonObject &body) const;

    /// Uploads files in one request.
    static HttpAnswer upload(HttpClient &client, const QList<QByteArray> &files);

    /// The SOP instance UIDs in a sequence of an upload's answer.
    static QStringList uidsIn(const HttpAnswer &answer, const char *sequence);

    /// The first FailureReason in an upload's answer, or -1.
    static int firstFailureReason(const HttpAnswer &answer);

    /// How many instances the service says it holds.
    int instanceCount() const;

    /// How many files lie below a folder of the data folder.
    int filesIn(const QString &folder) const;

    CloudProcess m_cloud;
    bool m_endedByTest = false;
};

inline const QString kEmail = QStringLiteral("ann@example.org");
inline const QString kPassword = QStringLiteral("secret word");
inline const QString kStudies = QStringLiteral("/dicom-web/studies");
inline constexpr const char *kReferenced = "00081199";
inline constexpr const char *kFailed = "00081198";

/// The values of an attribute of a DICOM JSON record as one text. Thread: any.
QString valueOf(const QJsonValue &record, const char *tag);

} // namespace gateway::cloud::testing
