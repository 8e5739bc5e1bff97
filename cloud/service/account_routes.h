#pragma once

#include "cloud/service/access.h"
#include "cloud/store/service_settings.h"

#include <QtCore/QString>

#include <string>
#include <vector>

namespace gateway::cloud {

class ArchiveIndex;
class Exchange;

/// The account service: everything below `/api/v1`.
///
/// Owner: CloudService. Thread: any.
class AccountRoutes
{
public:
    /// \param reportsFolder  where bug reports are kept, one folder each.
    AccountRoutes(Accounts &accounts,
                  ServiceSettings &settings,
                  const ArchiveIndex &archive,
                  QString reportsFolder);

    /// Answers a request. \param path  what follows `/api/v1`. \throws HttpProblem
    void handle(Exchange &exchange, const std::vector<std::string> &path);

private:
    void login(Exchange &exchange);
    void logout(Exchange &exchange);
    void tokenExpiration(Exchange &exchange);
    void getUser(Exchange &exchange);
    void putUser(Exchange &exchange);
    void changePassword(Exchange &exchange);
    void storage(Exchange &exchange);
    void ping(Exchange &exchange);
    void termsStatus(Exchange &exchange);
    void terms(Exchange &exchange);
    void acceptTerms(Exchange &exchange);
    void declineTerms(Exchange &exchange);
    void versionPolicy(Exchange &exchange);
    void bugReport(Exchange &exchange);

    Accounts &m_accounts;          // borrowed, outlives this
    ServiceSettings &m_settings;   // borrowed, outlives this
    const ArchiveIndex &m_archive; // borrowed, outlives this
    const QString m_reportsFolder;
    const Access m_access;
};

} // namespace gateway::cloud
