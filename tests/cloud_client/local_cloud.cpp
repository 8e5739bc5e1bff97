#include "tests/cloud_client/local_cloud.h"

#include "cloud_client/http_transport.h"

#include <QtCore/QFile>

#include <stdexcept>

namespace gateway::tests {

using cloud_client::testing::shortElement;

PrivateAuthority::PrivateAuthority()
{
    const auto path = [this](const char *name) { return m_folder.filePath(QString::fromLatin1(name)); };
    QFile extensions(path("server.ext"));
    if (!extensions.open(QIODevice::WriteOnly) || extensions.write("subjectAltName=IP:127.0.0.1\n") < 0) {
        throw std::runtime_error("the certificate's extensions could not be written");
    }
    extensions.close();
    const auto list = [](const char *words) { return QString::fromLatin1(words).split(u' '); };
    run(list("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj "
             "/CN=TestAuthority "
             "-addext keyUsage=keyCertSign -keyout") +
        QStringList{path("ca.key"), QStringLiteral("-out"), path("ca.pem")});
    run(list("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=127.0.0.1 -keyout") +
        QStringList{path("server.key"), QStringLiteral("-out"), path("server.csr")});
    run(list("x509 -req -days 2 -CAcreateserial -in") + QStringList{path("server.csr"),
                                                                    QStringLiteral("-CA"),
                                                                    path("ca.pem"),
                                                                    QStringLiteral("-CAkey"),
                                                                    path("ca.key"),
                                                                    QStringLiteral("-extfile"),
                                                                    path("server.ext"),
                                                                    QStringLiteral("-out"),
                                                                    path("server.pem")});
}

QStringList PrivateAuthority::serverFiles() const
{
    return {m_folder.filePath(QStringLiteral("server.pem")), m_folder.filePath(QStringLiteral("server.key"))};
}

void PrivateAuthority::run(const QStringList &arguments)
{
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"), arguments);
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        throw std::runtime_error(openssl.readAllStandardError().toStdString());
    }
}

LocalCloud::LocalCloud(const QStringList &tls)
{
    QStringList arguments{QStringLiteral("--listen"),
                          QStringLiteral("127.0.0.1:0"),
                          QStringLiteral("--data"),
                          m_data.path(),
                          QStringLiteral("--user"),
                          QStringLiteral("%1:%2").arg(QLatin1String(kEmail), QLatin1String(kPassword)),
                          QStringLiteral("--control")};
    if (!tls.isEmpty()) {
        arguments << QStringLiteral("--tls") << tls;
    }
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral(QUORIN_CLOUD_PROGRAM), arguments);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead()) {
            throw std::runtime_error("the local cloud did not come up");
        }
    }
    m_url = QUrl(QString::fromUtf8(m_process.readLine().trimmed().split(' ').last()));
}

LocalCloud::~LocalCloud()
{
    m_process.terminate();
    m_process.waitForFinished();
}

void LocalCloud::control(const QByteArray &what, const QJsonObject &body)
{
    ask("POST", what, QJsonDocument(body).toJson());
}

QJsonDocument LocalCloud::look(const QByteArray &what)
{
    return QJsonDocument::fromJson(ask("GET", what, {}));
}

QByteArray LocalCloud::ask(const QByteArray &method, const QByteArray &what, const QByteArray &body)
{
    cloud_client::CloudConfiguration configuration;
    configuration.baseUrl = m_url;
    cloud_client::HttpTransport transport(configuration);
    cloud_client::HttpRequest request;
    request.method = method;
    request.url = m_url.toEncoded() + "/control/" + what;
    request.headers = {{"Content-Type", "application/json"}};
    request.body = body;
    const cloud_client::HttpResponse response = transport.perform(request);
    if (!response.isSuccess()) {
        throw std::runtime_error("the control call was refused: " + response.body.toStdString());
    }
    return response.body;
}

QUrl writeImage(cloud_client::testing::SampleFiles &files,
                const QByteArray &study,
                const QByteArray &series,
                const QByteArray &instance,
                qsizetype pixelBytes)
{
    const auto uid = [](const QByteArray &text) { return text.size() % 2 == 0 ? text : text + '\0'; };
    const auto number = [](qsizetype value) {
        QByteArray bytes;
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.append(static_cast<char>((value >> shift) & 0xff));
        }
        return bytes;
    };
    const QByteArray dataset =
        shortElement(0x0008, 0x0016, "UI", uid("1.2.840.10008.5.1.4.1.1.2")) +
        shortElement(0x0008, 0x0018, "UI", uid(instance)) + shortElement(0x0008, 0x0020, "DA", "20260102") +
        shortElement(0x0008, 0x0060, "CS", "CT") + shortElement(0x0008, 0x1030, "LO", "Head ") +
        shortElement(0x0010, 0x0010, "PN", "Doe^Jane") + shortElement(0x0010, 0x0020, "LO", "ID 7") +
        shortElement(0x0020, 0x000d, "UI", uid(study)) + shortElement(0x0020, 0x000e, "UI", uid(series)) +
        shortElement(0x0020, 0x0011, "IS", "3 ") + QByteArray::fromHex("e07f1000") + "OW" +
        QByteArray::fromHex("0000") + number(pixelBytes) + QByteArray(pixelBytes, 'p');
    return files.file(QString::fromLatin1(instance) + QStringLiteral(".dcm"),
                      cloud_client::testing::metaHeader(instance) + dataset);
}

} // namespace gateway::tests
