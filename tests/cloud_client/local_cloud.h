#pragma once

#include "cloud_client/quorin_api_client.h"
#include "cloud_client/testing/memory_token_store.h"
#include "cloud_client/testing/sample_files.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>

namespace gateway::tests {

/// A private authority with one certificate for 127.0.0.1, as PEM files in a folder that goes with it.
class PrivateAuthority
{
public:
    /// \throws std::runtime_error  when the certificates can't be made.
    PrivateAuthority();

    QString certificateFile() const { return m_folder.filePath(QStringLiteral("ca.pem")); }
    QStringList serverFiles() const;

private:
    void run(const QStringList &arguments);

    QTemporaryDir m_folder;
};

/// The local cloud server as a process of its own on a free loopback port, with one user, `kEmail`.
class LocalCloud
{
public:
    static constexpr auto kEmail = "ann@site.example";
    static constexpr auto kPassword = "right";

    /// \param tls  certificate and key; empty for plain http.
    /// \throws std::runtime_error  when it doesn't come up.
    explicit LocalCloud(const QStringList &tls = {});
    ~LocalCloud();

    LocalCloud(const LocalCloud &) = delete;
    LocalCloud &operator=(const LocalCloud &) = delete;

    QUrl url() const { return m_url; }

    /// Steers the server, such as "faults" or "terms".
    void control(const QByteArray &what, const QJsonObject &body);

    /// What the server tells of itself, such as "counts" or "bug-reports".
    QJsonDocument look(const QByteArray &what);

private:
    QByteArray ask(const QByteArray &method, const QByteArray &what, const QByteArray &body);

    QTemporaryDir m_data;
    QProcess m_process;
    QUrl m_url;
};

/// Writes a small but whole CT image.
QUrl writeImage(cloud_client::testing::SampleFiles &files,
                const QByteArray &study,
                const QByteArray &series,
                const QByteArray &instance,
                qsizetype pixelBytes = 4000);

} // namespace gateway::tests
