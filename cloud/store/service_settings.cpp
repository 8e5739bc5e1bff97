#include "cloud/store/service_settings.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>

#include <stdexcept>

namespace gateway::cloud {

namespace {

constexpr auto kTermsVersion = u"termsVersion";
constexpr auto kTermsText = u"termsText";
constexpr auto kTermsReason = u"termsReason";
constexpr auto kMinimumVersion = u"minimumVersion";
constexpr auto kLatestVersion = u"latestVersion";
constexpr auto kMinimumOs = u"minimumOs";
constexpr auto kAllowanceKb = u"allowanceKb";
constexpr auto kMaxBodyBytes = u"maxBodyBytes";
constexpr auto kSessionSeconds = u"sessionSeconds";

QJsonObject toJson(const ServiceRules &rules)
{
    QJsonObject json{
        {QString::fromUtf16(kTermsVersion), rules.termsVersion},
        {QString::fromUtf16(kTermsText), rules.termsText},
        {QString::fromUtf16(kTermsReason), rules.termsReason},
        {QString::fromUtf16(kMinimumVersion), rules.minimumVersion},
        {QString::fromUtf16(kLatestVersion), rules.latestVersion},
        {QString::fromUtf16(kMinimumOs), rules.minimumOs},
        {QString::fromUtf16(kAllowanceKb), static_cast<qint64>(rules.allowanceKb)},
        {QString::fromUtf16(kSessionSeconds), static_cast<qint64>(rules.sessionLifetime.count())}};
    if (rules.maxBodyBytes) {
        json.insert(QString::fromUtf16(kMaxBodyBytes), static_cast<qint64>(*rules.maxBodyBytes));
    }
    return json;
}

ServiceRules fromJson(const QJsonObject &json)
{
    ServiceRules rules;
    const auto text = [&json](const char16_t *name, QString &value) {
        value = json.value(QString::fromUtf16(name)).toString(value);
    };
    text(kTermsVersion, rules.termsVersion);
    text(kTermsText, rules.termsText);
    text(kTermsReason, rules.termsReason);
    text(kMinimumVersion, rules.minimumVersion);
    text(kLatestVersion, rules.latestVersion);
    text(kMinimumOs, rules.minimumOs);
    rules.allowanceKb = json.value(QString::fromUtf16(kAllowanceKb)).toInteger(rules.allowanceKb);
    rules.sessionLifetime = std::chrono::seconds(
        json.value(QString::fromUtf16(kSessionSeconds)).toInteger(rules.sessionLifetime.count()));
    if (json.contains(QString::fromUtf16(kMaxBodyBytes))) {
        rules.maxBodyBytes = json.value(QString::fromUtf16(kMaxBodyBytes)).toInteger();
    }
    return rules;
}

} // namespace

ServiceSettings::ServiceSettings(const QString &path) : m_path(path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const platform::MutexLock lock(m_mutex);
        m_rules = fromJson(QJsonDocument::fromJson(file.readAll()).object());
    }
}

ServiceRules ServiceSettings::rules() const
{
    const platform::MutexLock lock(m_mutex);
    return m_rules;
}

void ServiceSettings::setRules(const ServiceRules &rules)
{
    const platform::MutexLock lock(m_mutex);
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(toJson(rules)).toJson()) < 0 ||
        !file.commit()) {
        throw std::runtime_error("The service's settings can't be written.");
    }
    m_rules = rules;
}

} // namespace gateway::cloud
