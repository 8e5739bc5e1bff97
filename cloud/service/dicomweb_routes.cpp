#include "cloud/service/dicomweb_routes.h"

#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"
#include "cloud/service/qido.h"
#include "cloud/service/stow.h"
#include "cloud/service/terms.h"
#include "cloud/service/wado.h"

namespace gateway::cloud {

namespace {

/// A path taken apart: the UIDs that it names and the word that it ends with.
struct Resource
{
    InstanceScope scope;
    std::string ending; ///< "studies", "series", "instances", "metadata", or empty where it ends with a UID
};

HttpProblem notOffered()
{
    return {404, ProblemKind::notFound, QStringLiteral("The DICOMweb service doesn't offer this.")};
}

/// Reads `studies/{study}/series/{series}/instances/{instance}` with any tail left out, or a single
/// collection word.
Resource resourceOf(const std::vector<std::string> &path)
{
    Resource resource;
    if (path.size() == 1 && (path[0] == "series" || path[0] == "instances")) {
        resource.ending = path[0];
        return resource;
    }
    std::size_t at = 0;
    const auto level = [&](const char *word, std::optional<QString> &uid) {
        if (at < path.size() && path[at] == word) {
            ++at;
            if (at == path.size()) {
                resource.ending = word;
            } else {
                uid = QString::fromStdString(path[at++]);
            }
            return at < path.size();
        }
        return false;
    };
    if (level("studies", resource.scope.studyUid)) {
        if (path[at] == "series") {
            level("series", resource.scope.seriesUid);
        }
        if (at < path.size()) {
            level("instances", resource.scope.sopInstanceUid);
        }
    }
    if (at + 1 == path.size() && path[at] == "metadata" && at > 0) {
        resource.ending = path[at++];
    }
    if (at != path.size() || path.empty()) {
        throw notOffered();
    }
    return resource;
}

} // namespace

DicomwebRoutes::DicomwebRoutes(Accounts &accounts,
                               ServiceSettings &settings,
                               InstanceStore &store,
                               FaultPlan &faults)
    : m_accounts(accounts), m_settings(settings), m_store(store), m_faults(faults), m_access(accounts)
{
}

void DicomwebRoutes::handle(Exchange &exchange, const std::vector<std::string> &path)
{
    const std::optional<UserId> user = m_access.dicomwebUser(exchange);
    const Resource resource = resourceOf(path);
    const bool reads = exchange.method() == "GET" || exchange.method() == "HEAD";
    const bool isStudy = resource.ending == "studies" || (path.size() == 2 && resource.ending.empty());
    if (exchange.method() == "POST" && isStudy) {
        store(exchange, resource.scope, user);
    } else if (exchange.method() == "DELETE" && resource.ending.empty()) {
        remove(exchange, resource.scope);
    } else if (!reads) {
        throw HttpProblem(
            405, ProblemKind::badRequest, QStringLiteral("This can't be done with that resource."));
    } else if (resource.ending == "studies") {
        answerSearch(exchange, m_store.index(), Level::study, resource.scope);
    } else if (resource.ending == "series") {
        answerSearch(exchange, m_store.index(), Level::series, resource.scope);
    } else if (resource.ending == "instances") {
        answerSearch(exchange, m_store.index(), Level::instance, resource.scope);
    } else if (resource.ending == "metadata") {
        answerMetadata(exchange, m_store, resource.scope);
    } else {
        answerInstances(exchange, m_store, resource.scope);
    }
}

void DicomwebRoutes::store(Exchange &exchange, const InstanceScope &scope, std::optional<UserId> user)
{
    const ServiceRules rules = m_settings.rules();
    if (user && termsRequired(rules, m_accounts, *user)) {
        throw HttpProblem(
            403,
            ProblemKind::termsNotAccepted,
            QStringLiteral("The Terms & Conditions must be accepted before images can be uploaded."));
    }
    receiveInstances(exchange, m_store, m_faults, rules, scope.studyUid);
}

void DicomwebRoutes::remove(Exchange &exchange, const InstanceScope &scope)
{
    if (m_store.remove(scope) == 0) {
        throw HttpProblem(404, ProblemKind::notFound, QStringLiteral("Nothing of that is stored."));
    }
    exchange.answer(204);
}

} // namespace gateway::cloud
