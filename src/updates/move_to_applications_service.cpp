#include "updates/move_to_applications_service.h"

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/main_thread.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <utility>

namespace gateway::updates {

namespace {

bool isAtOrBelow(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder + u'/');
}

QString applicationsOf(const QString &homeFolder)
{
    return homeFolder + QStringLiteral("/Applications");
}

/// Copies a program; what stands at the destination is replaced once the copy is whole.
///
/// \return what went wrong, in words; nothing when the copy is in place.
std::optional<QString> copyProgram(const QString &source, const QString &destination)
{
    const QString part = destination + QStringLiteral(".part");
    try {
        platform::makeFoldersDurably(QFileInfo(destination).absolutePath());
        QFile::remove(part); // of a copy that was broken off
        platform::copyForStore(source, part);
        if (!QFile::setPermissions(part, QFile::permissions(source) | QFileDevice::ExeOwner)) {
            return QStringLiteral("Could not make %1 executable.").arg(destination);
        }
        platform::renameDurably(part, destination);
    } catch (const platform::FileError &error) {
        QFile::remove(part);
        return error.message();
    }
    return std::nullopt;
}

} // namespace

MoveToApplicationsService::MoveToApplicationsService(Collaborators collaborators, Place place)
    : m_collaborators(std::move(collaborators)), m_place(std::move(place)), m_life(std::make_shared<int>())
{
    platform::assertMainThread("MoveToApplicationsService");
}

void MoveToApplicationsService::checkInstallLocation()
{
    if (!m_collaborators.main.isCurrent()) {
        m_collaborators.main.post(m_life, [this] { checkInstallLocation(); });
        return;
    }
    if (std::exchange(m_hasCheckedInstallLocation, true) || !shouldOfferMove()) {
        return;
    }
    m_collaborators.alerts.ask(moveToApplicationsAlert(),
                               [this, life = std::weak_ptr(m_life)](bool isWanted) {
                                   if (isWanted && !life.expired()) {
                                       performMove();
                                   }
                               });
}

bool MoveToApplicationsService::shouldOfferMove() const
{
    return !m_place.isUnderTest && !m_place.bundle.isEmpty() &&
           !isAtOrBelow(m_place.bundle, QStringLiteral("/Applications")) &&
           !isAtOrBelow(m_place.bundle, applicationsOf(m_place.homeFolder));
}

void MoveToApplicationsService::performMove()
{
    const QString destination =
        applicationsOf(m_place.homeFolder) + u'/' + QFileInfo(m_place.bundle).fileName();
    m_collaborators.pool.run([this,
                              destination,
                              source = m_place.bundle,
                              &main = m_collaborators.main,
                              life = std::weak_ptr(m_life)] {
        const std::optional<QString> problem = copyProgram(source, destination);
        main.post(life, [this, destination, problem] { moved(destination, problem); });
    });
}

void MoveToApplicationsService::moved(const QString &destination, const std::optional<QString> &problem)
{
    if (problem) {
        showFailure(*problem);
    } else if (!m_collaborators.open(destination)) {
        showFailure(QStringLiteral("%1 can't be started.").arg(destination));
    }
}

void MoveToApplicationsService::showFailure(const QString &why)
{
    m_collaborators.alerts.ask(moveFailedAlert(why), [](bool) {});
}

} // namespace gateway::updates
