#include "cloud_client/qrn_versions_api.h"

#include "cloud_client/quorin_api_client.h"

#include <QtCore/QStringList>
#include <QtCore/QSysInfo>

#include <algorithm>

namespace gateway::cloud_client {

namespace {

/// The number that a component begins with, 0 where there is none; a component of nine digits is the
/// longest that counts in full.
qint64 leadingNumber(const QString &component)
{
    qsizetype digits = 0;
    while (digits < component.size() && digits < 9 && component[digits].isDigit()) {
        ++digits;
    }
    return component.first(digits).toLongLong();
}

/// True when the policy names a version and `present` is an older one.
bool isBelow(const QString &present, const QString &policy)
{
    return !policy.trimmed().isEmpty() && compareVersions(present, policy) == std::strong_ordering::less;
}

} // namespace

std::strong_ordering compareVersions(const QString &left, const QString &right)
{
    const QStringList lefts = left.trimmed().split(u'.');
    const QStringList rights = right.trimmed().split(u'.');
    for (qsizetype index = 0; index < std::max(lefts.size(), rights.size()); ++index) {
        const auto order = leadingNumber(lefts.value(index)) <=> leadingNumber(rights.value(index));
        if (order != std::strong_ordering::equal) {
            return order;
        }
    }
    return std::strong_ordering::equal;
}

QrnVersionsResponse QrnVersionsAPI::checkVersions()
{
    if (m_client.isPlainArchive()) {
        return {};
    }
    const QString system = QSysInfo::productVersion();
    ApiCall call;
    call.path = "/versions/policy?platform=" + QUrl::toPercentEncoding(QSysInfo::productType()) +
                "&os=" + QUrl::toPercentEncoding(system);
    const QVariantMap policy = m_client.requestObject(call);
    const auto text = [&policy](const QString &member) { return policy.value(member).toString(); };

    const QString version = QStringLiteral(QUORIN_VERSION);
    QrnVersionsResponse response;
    response.critical = isBelow(version, text(QStringLiteral("minimumVersion")));
    response.nonCritical = isBelow(version, text(QStringLiteral("latestVersion")));
    // A system that doesn't tell its version ("unknown", a rolling one) can't be too old.
    const bool tellsVersion = !system.isEmpty() && system.front().isDigit();
    response.unsupportedOS = tellsVersion && isBelow(system, text(QStringLiteral("minimumOs")));
    return response;
}

} // namespace gateway::cloud_client
