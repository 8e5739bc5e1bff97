#include "receive/incoming_importer.h"

#include "log/writing/redaction.h"
#include "platform/dicom/inbox_files.h"
#include "platform/files/files.h"
#include "receive/inbox.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

#include <algorithm>
#include <utility>

namespace gateway::receive {

using log::GatewayLogAction;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;

namespace {

/// By the name alone: no disk is asked.
QString folderOf(const QString &path)
{
    return path.left(path.lastIndexOf(u'/'));
}

} // namespace

IncomingImporter::IncomingImporter(Collaborators collaborators)
    : m_collaborators(std::move(collaborators)), m_lanes(m_collaborators.pool)
{
}

IncomingImporter::~IncomingImporter()
{
    {
        const platform::MutexLock lock(m_mutex);
        m_closing = true;
    }
    m_wake.notifyAll();
}

void IncomingImporter::fileArrived(const QString &path, const QString &association)
{
    enqueue({path, log::hashedIdentifier(association), false});
}

void IncomingImporter::fileFound(const QString &path)
{
    enqueue({path, std::nullopt, true});
}

bool IncomingImporter::awaitsRemoval(const QString &path) const
{
    const std::optional<Outcome> decided = decidedOn(path);
    return decided && decided->fate == Fate::imported && QFileInfo::exists(path) &&
           m_collaborators.isKept(decided->imported).value_or(false);
}

void IncomingImporter::enqueue(Item item)
{
    if (!takeInHand(item)) {
        return;
    }
    const QString folder = folderOf(item.path);
    m_lanes.run(folder, [weak = weak_from_this(), item = std::move(item)] {
        // An importer that has gone leaves the file where it is: the next start finds it.
        if (const auto self = weak.lock()) {
            self->handle(item);
        }
    });
}

void IncomingImporter::lookInto(const QString &inbox)
{
    // By the name that its files have: of the lane that its files are in.
    m_lanes.run(folderOf(inbox + u'/'), [weak = weak_from_this(), inbox] {
        if (const auto self = weak.lock()) {
            for (const QString &path : platform::completeInboxFiles(inbox)) {
                self->fileFound(path);
            }
        }
    });
}

/// False when the file is in hand already.
bool IncomingImporter::takeInHand(const Item &item)
{
    const platform::MutexLock lock(m_mutex);
    if (m_inHand.contains(item.path)) {
        return false;
    }
    m_inHand.insert(item.path);
    return true;
}

std::optional<IncomingImporter::Outcome> IncomingImporter::decidedOn(const QString &path) const
{
    const platform::MutexLock lock(m_mutex);
    const auto found = m_decided.constFind(path);
    return found == m_decided.constEnd() ? std::nullopt : std::optional(*found);
}

void IncomingImporter::handle(const Item &item)
{
    const QFileInfo file(item.path);
    const bool isThere = file.exists();
    const std::optional<Outcome> decided = decidedOn(item.path);
    if (decided && isThere) {
        handleDecided(item, *decided);
        return;
    }
    if (!isThere && (decided || item.found)) {
        letGo(item);
        return;
    }
    if (file.isSymLink() || (isThere && !file.isFile())) { // the receiver is believed in nothing but a name
        emitRecord(item,
                   GatewayLogAction::fileReceivedCallback,
                   GatewayLogOutcome::failed,
                   GatewayLogLevel::warning,
                   std::nullopt,
                   {{QStringLiteral("reason"), QStringLiteral("not_a_file_of_the_inbox")}});
        letGo(item);
        return;
    }
    m_collaborators.observer.fileReceived(file.size());
    emitRecord(item, GatewayLogAction::fileReceivedCallback, GatewayLogOutcome::started);
    m_collaborators.main.post(weak_from_this(), [this] { m_collaborators.state.recordReceivedItem(); });
    leaveInbox(item, importFile(item));
}

/// It was decided perhaps weeks ago, and may be the last copy by now.
void IncomingImporter::handleDecided(const Item &item, const Outcome &decided)
{
    const std::optional<bool> mayGo =
        decided.fate == Fate::imported ? m_collaborators.isKept(decided.imported) : std::optional(true);
    if (!mayGo) {
        letGo(item);
    } else if (*mayGo) {
        depart(item, decided);
    } else {
        leaveInbox(item, importFile(item));
    }
}

IncomingImporter::Outcome IncomingImporter::importFile(const Item &item)
{
    emitRecord(item, GatewayLogAction::importAttempted, GatewayLogOutcome::started);
    QMap<QString, QString> details;
    Outcome outcome{Fate::imported};
    try {
        outcome.imported = m_collaborators.dbService.importFile(QUrl::fromLocalFile(item.path));
        if (const std::optional<QString> hash = log::hashedFileURL(outcome.imported.storedFile)) {
            details.insert(log::kStoredFileHashKey, *hash); // what is told of the image from now on bears it
        }
    } catch (const index::GatewayImportError &error) {
        m_collaborators.observer.importFailed();
        emitRecord(item,
                   GatewayLogAction::importFailed,
                   GatewayLogOutcome::failed,
                   GatewayLogLevel::error,
                   log::redactedError(QStringLiteral("QuorinGateway.GatewayImportError"),
                                      static_cast<int>(error.kind()),
                                      error.errorDescription()));
        return {fateOf(item, error)};
    }
    emitRecord(item,
               GatewayLogAction::importSucceeded,
               GatewayLogOutcome::succeeded,
               GatewayLogLevel::info,
               std::nullopt,
               details);
    m_collaborators.main.post(weak_from_this(), [this] { m_collaborators.state.refreshCounters(); });
    m_collaborators.onImportSucceeded(QStringLiteral("receive_import_succeeded"));
    return outcome;
}

IncomingImporter::Fate IncomingImporter::fateOf(const Item &item, const index::GatewayImportError &error)
{
    using Blame = index::GatewayImportError::Blame;
    switch (error.blame()) {
    case Blame::file:
        return Fate::refused;
    case Blame::reading:
    case Blame::storage:
        break;
    }
    if (!QFileInfo::exists(item.path)) {
        return Fate::outOfSight;
    }
    return error.blame() == Blame::reading ? Fate::trouble : Fate::noStorage;
}

void IncomingImporter::leaveInbox(Item item, const Outcome &outcome)
{
    switch (outcome.fate) {
    case Fate::imported:
    case Fate::refused:
        depart(item, outcome);
        return;
    case Fate::trouble:
        if (++item.troubles == kTriesInTrouble) {
            depart(item, outcome);
            return;
        }
        keepForRetry(item);
        return;
    case Fate::noStorage:
        keepForRetry(item);
        return;
    case Fate::outOfSight:
        keepOutOfSight(item);
        return;
    }
}

/// Takes a file whose fate is decided out of the inbox.
void IncomingImporter::depart(const Item &item, const Outcome &outcome)
{
    const Fate fate = outcome.fate;
    const InboxRemoval removal = fate == Fate::imported ? removeFromInbox(item.path) : setAside(item.path);
    // What stays because its disk is away is tried again, not put aside, when that is back.
    const bool isDecided = fate != Fate::trouble || !removal.error;
    bool isToldAlready = false;
    if (isDecided && (removal.error || item.found)) {
        const platform::MutexLock lock(m_mutex);
        isToldAlready = m_decided.contains(item.path);
        m_decided.insert(item.path, outcome);
    }
    if (!removal.error) {
        QMap<QString, QString> details;
        if (fate != Fate::imported) {
            details.insert(QStringLiteral("disposition"), QStringLiteral("set_aside"));
        }
        if (fate == Fate::trouble) {
            details.insert(QStringLiteral("reason"), QStringLiteral("could_not_be_read"));
        }
        emitRecord(item,
                   GatewayLogAction::incomingFileDeleted,
                   GatewayLogOutcome::succeeded,
                   GatewayLogLevel::info,
                   std::nullopt,
                   details);
    } else if (!isToldAlready) { // a file that can't go is tried again at each look, for as long as that
                                 // lasts
        emitRecord(item,
                   GatewayLogAction::incomingFileDeleted,
                   GatewayLogOutcome::failed,
                   GatewayLogLevel::warning,
                   removal.error);
    }
    letGo(item);
}

void IncomingImporter::keepForRetry(const Item &item)
{
    emitRecord(item,
               GatewayLogAction::incomingFileDeleted,
               GatewayLogOutcome::skipped,
               GatewayLogLevel::warning,
               std::nullopt,
               {{QStringLiteral("reason"), QStringLiteral("kept_for_retry")}});
    {
        const platform::MutexLock lock(m_mutex);
        Retries &files = m_retries[folderOf(item.path)];
        files.waiting.push_back(item);
        if (!files.task.isSet()) {
            files.task = platform::Task(
                "inbox-retry", [this, &files](const std::stop_token &stop) { retryLoop(files, stop); });
        }
    }
    m_wake.notifyAll();
}

/// The sender was told that it is stored, so the log says that it couldn't be seen.
void IncomingImporter::keepOutOfSight(const Item &item)
{
    emitRecord(item,
               GatewayLogAction::incomingFileDeleted,
               GatewayLogOutcome::skipped,
               GatewayLogLevel::warning,
               std::nullopt,
               {{QStringLiteral("reason"), QStringLiteral("out_of_sight")}});
    letGo(item);
}

void IncomingImporter::letGo(const Item &item)
{
    const platform::MutexLock lock(m_mutex);
    m_inHand.remove(item.path);
}

void IncomingImporter::retryLoop(Retries &files, const std::stop_token &stop)
{
    while (waitForWork(files, stop)) {
        std::chrono::seconds pause = kFirstPause;
        bool more = true;
        while (more) {
            if (!m_collaborators.clock.sleep(pause, stop)) {
                return;
            }
            more = !retryRound(files, stop);
            pause = std::min(pause * 2, kLongestPause);
        }
    }
}

/// Blocks until a file waits; false when there is nothing more to do at all.
bool IncomingImporter::waitForWork(const Retries &files, const std::stop_token &stop)
{
    const platform::MutexLock lock(m_mutex);
    while (files.waiting.empty() && !m_closing) {
        m_wake.wait(m_mutex);
    }
    return !m_closing && !stop.stop_requested();
}

/// Tries each waiting file once, in their order, up to the first that finds no storage again.
///
/// \return true when none waits any more.
bool IncomingImporter::retryRound(Retries &files, const std::stop_token &stop)
{
    for (std::size_t left = waiting(files); left > 0 && !stop.stop_requested(); --left) {
        const std::optional<Item> item = nextWaiting(files);
        if (!item) {
            break;
        }
        const Outcome outcome = importFile(*item);
        leaveInbox(*item, outcome);
        if (outcome.fate == Fate::noStorage) {
            return false;
        }
    }
    return waiting(files) == 0;
}

std::optional<IncomingImporter::Item> IncomingImporter::nextWaiting(Retries &files)
{
    const platform::MutexLock lock(m_mutex);
    if (files.waiting.empty()) {
        return std::nullopt;
    }
    Item item = std::move(files.waiting.front());
    files.waiting.pop_front();
    return item;
}

std::size_t IncomingImporter::waiting(const Retries &files) const
{
    const platform::MutexLock lock(m_mutex);
    return files.waiting.size();
}

void IncomingImporter::emitRecord(const Item &item,
                                  GatewayLogAction action,
                                  GatewayLogOutcome outcome,
                                  GatewayLogLevel level,
                                  std::optional<log::GatewayLogError> error,
                                  QMap<QString, QString> details)
{
    log::StoreLogRecord record;
    record.level = level;
    record.category = log::GatewayLogCategory::receive;
    record.action = action;
    record.outcome = outcome;
    record.assocHash = item.assocHash;
    record.fileURL = QUrl::fromLocalFile(item.path);
    record.details = std::move(details);
    record.error = std::move(error);
    m_collaborators.logEmitter.emit(record);
}

} // namespace gateway::receive
