#include "account/cloud_choice.h"

#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QUrl>

#include <utility>

namespace gateway::account {

using cloud_client::AddressFault;

CloudChoice::CloudChoice(Parts parts) : m_parts(std::move(parts))
{
    platform::assertMainThread("CloudChoice");
}

CloudChoice::Entries CloudChoice::present() const
{
    return {m_parts.configuration.kind,
            m_parts.configuration.baseUrl.toString(QUrl::RemoveUserInfo | QUrl::StripTrailingSlash)};
}

std::optional<QString> CloudChoice::issueWith(const Entries &entered) const
{
    const auto fault =
        cloud_client::faultOf(QUrl(entered.address, QUrl::StrictMode), m_parts.configuration.allowPlainHttp);
    if (!fault) {
        return std::nullopt;
    }
    switch (*fault) {
    case AddressFault::notOfTheWeb:
        break;
    case AddressFault::holdsCredentials:
        return QCoreApplication::translate(
            "CloudChoice", "The address holds a user name or a password. They have their own fields, later.");
    case AddressFault::plainHttp:
        return QCoreApplication::translate(
            "CloudChoice", "Anyone on the way can read plain http. Give an address that begins with https.");
    }
    return QCoreApplication::translate(
        "CloudChoice", "Give a whole web address, such as https://archive.example/dicom-web.");
}

/// Both, or neither: an address goes with what stands there.
bool CloudChoice::keep(const Entries &entered)
{
    platform::UserDefaults &defaults = m_parts.defaults;
    const QString address = QString::fromLatin1(cloud_client::kCloudBaseUrlKey);
    const QVariant before = defaults.object(address).value_or(QVariant());
    if (!defaults.setObject(address, entered.address)) {
        return false;
    }
    const bool isKept = defaults.setObject(QString::fromLatin1(cloud_client::kCloudKindKey),
                                           cloud_client::cloudKindName(entered.kind));
    if (!isKept) {
        defaults.setObject(address, before);
    }
    return isKept;
}

std::optional<QString> CloudChoice::choose(const Entries &entered)
{
    const Entries wanted{entered.kind, entered.address.trimmed()};
    if (const auto issue = issueWith(wanted)) {
        return issue;
    }
    // Also the one that runs: another may be kept for the next start.
    if (!keep(wanted)) {
        return QCoreApplication::translate("CloudChoice", "The setting could not be saved.");
    }
    cloud_client::CloudConfiguration next;
    next.kind = wanted.kind;
    next.baseUrl = QUrl(wanted.address);
    if (cloud_client::sessionKey(next) == cloud_client::sessionKey(m_parts.configuration)) {
        return std::nullopt;
    }
    if (!m_parts.restart()) {
        return QCoreApplication::translate(
            "CloudChoice", "It is saved. Quit Quorin Gateway and open it again: it counts from then on.");
    }
    return std::nullopt;
}

} // namespace gateway::account
