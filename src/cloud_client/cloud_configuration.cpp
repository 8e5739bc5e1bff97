#include "cloud_client/cloud_configuration.h"

#include <QtCore/QStringList>

namespace gateway::cloud_client {

namespace {

std::optional<QString> firstOf(const std::optional<QString> &flag,
                               const QString &fromEnvironment,
                               const std::optional<QString> &fromDefaults)
{
    for (const std::optional<QString> &value : {flag, std::optional(fromEnvironment), fromDefaults}) {
        if (value && !value->trimmed().isEmpty()) {
            return value->trimmed();
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<AddressFault> faultOf(const QUrl &address, bool allowPlainHttp)
{
    const bool isPlain = address.scheme() == QStringLiteral("http");
    if (!address.isValid() || !(isPlain || address.scheme() == QStringLiteral("https")) ||
        address.host().isEmpty() || address.hasQuery() || address.hasFragment()) {
        return AddressFault::notOfTheWeb;
    }
    if (!address.userInfo().isEmpty()) {
        return AddressFault::holdsCredentials;
    }
    return isPlain && !allowPlainHttp && !isLoopbackHost(address.host())
               ? std::optional(AddressFault::plainHttp)
               : std::nullopt;
}

CloudConfiguration resolveCloudConfiguration(const CloudSources &sources, const QString &deviceId)
{
    const auto variable = [&sources](const char *name) {
        return sources.environment.value(QString::fromLatin1(name));
    };
    CloudConfiguration configuration;
    configuration.deviceId = deviceId;
    configuration.certificateFile =
        firstOf(std::nullopt, variable("QUORIN_CLOUD_CA"), sources.certificateDefault).value_or(QString());
    configuration.proxy = sources.proxyDefault.value_or(QString());
    configuration.allowPlainHttp = variable("QUORIN_CLOUD_ALLOW_HTTP") == QStringLiteral("1");

    configuration.isGivenAtStart =
        firstOf(sources.urlFlag, variable("QUORIN_CLOUD_URL"), std::nullopt).has_value() ||
        firstOf(sources.kindFlag, variable("QUORIN_CLOUD_KIND"), std::nullopt).has_value();

    const QString address = firstOf(sources.urlFlag, variable("QUORIN_CLOUD_URL"), sources.urlDefault)
                                .value_or(QString::fromLatin1(kBuiltInCloudAddress));
    configuration.baseUrl = QUrl(address, QUrl::StrictMode);
    if (faultOf(configuration.baseUrl, true)) {
        configuration.problem =
            address.contains(u'@')
                ? QStringLiteral(
                      "The cloud address holds a user name or a password, which has no place there; "
                      "sign in instead.")
                : QStringLiteral("The cloud address \"%1\" is not a web address.").arg(address);
        // Addresses are shown and logged.
        configuration.baseUrl.setUserInfo({});
        if (configuration.baseUrl.toString().contains(u'@')) {
            configuration.baseUrl = QUrl();
        }
    }

    const QString name = firstOf(sources.kindFlag, variable("QUORIN_CLOUD_KIND"), sources.kindDefault)
                             .value_or(cloudKindName(CloudKind::quorin));
    if (const std::optional<CloudKind> kind = cloudKindNamed(name)) {
        configuration.kind = *kind;
    } else {
        configuration.problem =
            QStringLiteral("The cloud kind \"%1\" is unknown; it is \"quorin\" or \"dicomweb\".").arg(name);
    }
    return configuration;
}

QString cloudKindName(CloudKind kind)
{
    switch (kind) {
    case CloudKind::quorin:
        return QStringLiteral("quorin");
    case CloudKind::dicomweb:
        return QStringLiteral("dicomweb");
    }
    return {};
}

std::optional<CloudKind> cloudKindNamed(const QString &name)
{
    for (const CloudKind kind : {CloudKind::quorin, CloudKind::dicomweb}) {
        if (cloudKindName(kind) == name) {
            return kind;
        }
    }
    return std::nullopt;
}

bool isLoopbackHost(const QString &host)
{
    if (host.compare(QStringLiteral("localhost"), Qt::CaseInsensitive) == 0 ||
        host == QStringLiteral("::1")) {
        return true;
    }
    const QStringList parts = host.split(u'.');
    if (parts.size() != 4 || parts.first() != QStringLiteral("127")) {
        return false;
    }
    for (const QString &part : parts) {
        bool isNumber = false;
        const int number = part.toInt(&isNumber);
        if (!isNumber || number < 0 || number > 255) {
            return false;
        }
    }
    return true;
}

std::optional<QString> reasonNotToConnect(const CloudConfiguration &configuration)
{
    if (configuration.problem) {
        return configuration.problem;
    }
    const auto fault = faultOf(configuration.baseUrl, configuration.allowPlainHttp);
    if (fault == AddressFault::plainHttp) {
        return QStringLiteral(
                   "The cloud address uses plain http to %1, which anyone on the way can read; use "
                   "https, or set QUORIN_CLOUD_ALLOW_HTTP=1 to allow it.")
            .arg(configuration.baseUrl.host());
    }
    return fault ? std::optional(QStringLiteral("The cloud address is not a web address.")) : std::nullopt;
}

QByteArray baseAddress(const CloudConfiguration &configuration)
{
    QByteArray address = configuration.baseUrl.toEncoded(QUrl::StripTrailingSlash);
    while (address.endsWith('/')) {
        address.chop(1); // an address without a path keeps its slash
    }
    return address;
}

QString sessionKey(const CloudConfiguration &configuration)
{
    const bool archive = configuration.kind == CloudKind::dicomweb;
    return (archive ? QStringLiteral("dicomweb ") : QStringLiteral("quorin ")) +
           QString::fromLatin1(baseAddress(configuration));
}

} // namespace gateway::cloud_client
