#include "doctor/doctor.h"

#include "index/gateway_import_error.h"
#include "log/writing/redaction.h"
#include "platform/concurrency/clock.h"
#include "platform/dicom/inbox_files.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "platform/files/folder_entries.h"
#include "platform/sqlite/sqlite_error.h"
#include "receive/inbox.h"
#include "state/inbox_figures.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <utility>

namespace gateway::doctor {

using index::RecordedFile;
using index::UnrecordedFile;
using platform::FolderEntry;
using platform::SqliteError;

namespace {

FileName
nameOf(const QUrl &fileURL, const QString &storagePath = {}, const platform::InstanceUid &instance = {})
{
    return {storagePath,
            log::hashedFileURL(fileURL).value_or(QString()),
            log::hashedIdentifier(instance.value()).value_or(QString())};
}

/// Names of numbers in the order of the numbers.
QStringList byNumber(QStringList names)
{
    std::ranges::sort(names, [](const QString &left, const QString &right) {
        const auto number = [](const QString &name) { return name.section(u'.', 0, 0); };
        return std::pair(number(left).size(), left) < std::pair(number(right).size(), right);
    });
    return names;
}

/// One examination.
class Round
{
public:
    Round(index::DicomDB &index,
          log::StoreLogEmitter &emitter,
          const platform::Clock &clock,
          const std::function<bool(const QString &path)> &awaitsRemoval,
          bool repair,
          const std::stop_token &stop)
        : m_index(index), m_examination(index.examination()), m_emitter(emitter), m_clock(clock),
          m_awaitsRemoval(awaitsRemoval), m_repairs(repair), m_stop(stop)
    {
    }

    /// Runs a part of the examination; what goes wrong with the index in it is a finding.
    template <typename Part>
    void step(Part part)
    {
        if (m_stop.stop_requested()) {
            return;
        }
        try {
            part();
        } catch (const SqliteError &error) {
            if (!m_stop.stop_requested()) {
                giveUpOn(error.saysDamaged() ? FindingKind::indexDamaged : FindingKind::indexNotAnswering);
            }
        }
    }

    void checkIndex()
    {
        if (const std::int64_t complaints = m_examination.complaints(m_stop); complaints > 0) {
            giveUpOn(FindingKind::indexDamaged, complaints);
        }
    }

    /// What can't be written is mended by nobody, and holds up all that comes in or goes out.
    void checkWriting()
    {
        if (!m_examination.isWritable()) {
            giveUpOn(FindingKind::indexNotWritten);
        }
    }

    void lookForFormerIndex()
    {
        if (const auto path = m_index.former().path()) {
            add(FindingKind::formerIndexKept, 1, {*path, {}, {}});
        }
    }

    /// What waits in the inbox says only that it waits, and not why.
    void checkStore()
    {
        const QString root = m_index.fileURL(QString()).toLocalFile();
        const bool isOutOfSight = m_index.takeUpStore();
        if (m_index.isStoreAnother()) {
            add(FindingKind::anotherStore, 1, {QDir::cleanPath(root), {}, {}});
            m_isOfIndex = m_repairs && m_index.acceptStore();
            addMended(FindingKind::anotherStore, m_isOfIndex ? 1 : 0);
        } else if (isOutOfSight) {
            add(FindingKind::storeOutOfSight, 1, {QDir::cleanPath(root), {}, {}});
        } else if (!m_examination.isStoreWritable()) {
            add(FindingKind::storeNotWritten, 1, {QDir::cleanPath(root), {}, {}});
        }
    }

    void lookForLostIndex()
    {
        if (!m_isOfIndex || !m_index.storeRecording().lacksStoredFiles()) {
            return;
        }
        add(FindingKind::indexMadeAnew, 1);
        if (m_repairs && m_index.storeRecording().recordStoredFiles(m_stop, [](std::int64_t) {})) {
            addMended(FindingKind::indexMadeAnew, 1);
        }
    }

    void recount()
    {
        const index::TallyDifferences found = m_examination.tallyDifferences(m_stop);
        const bool mends = m_repairs && found != index::TallyDifferences();
        add(FindingKind::wrongCount, found.counts);
        add(FindingKind::wrongState, found.states);
        if (mends) {
            m_examination.mendTallies();
            addMended(FindingKind::wrongCount, found.counts);
            addMended(FindingKind::wrongState, found.states);
            m_index.postLocalSyncStateChanged();
        }
    }

    /// What another store holds says nothing of the rows.
    void walkStore()
    {
        if (m_isOfIndex) {
            walk(QString());
        }
    }

    void walkRows()
    {
        if (!m_isOfIndex) {
            return;
        }
        constexpr int kFilesOfAPage = 1000;
        QString last;
        for (auto page = m_examination.recordedFiles(last, kFilesOfAPage, m_stop); !page.isEmpty();
             page = m_examination.recordedFiles(last, kFilesOfAPage, m_stop)) {
            for (const RecordedFile &file : std::as_const(page)) {
                if (m_stop.stop_requested()) {
                    return;
                }
                lookFor(file);
            }
            last = page.last().storagePath;
        }
        add(FindingKind::rowWithoutFile, m_examination.rowsWithoutFile(m_stop));
        add(FindingKind::damagedImage, m_examination.damagedFiles());
        if (m_repairs) {
            m_index.releaseSentCopies();
        }
        add(FindingKind::unsentVersion, m_examination.owedFiles());
    }

    void lookAtRemovals()
    {
        const std::int64_t waiting = m_examination.pendingRemovals();
        add(FindingKind::waitsForRemoval, waiting);
        if (m_repairs && waiting > 0) {
            m_index.finishRemovals();
            addMended(FindingKind::waitsForRemoval, waiting - m_examination.pendingRemovals());
        }
    }

    void lookAtPresentInbox(receive::IncomingFolders &folders)
    {
        if (!folders.silentPresent()) {
            lookAtInbox(folders, folders.present());
        }
    }

    void lookAtInbox(receive::IncomingFolders &folders, const QString &folder)
    {
        if (!folders.own(folder)) {
            add(FindingKind::inboxInUse, 1, {folder, {}, {}});
            return;
        }
        for (const QString &path : platform::completeInboxFiles(folder)) {
            // One whose time lies far ahead was received while the clock was wrong, so nobody knows.
            const auto age = std::chrono::milliseconds(QFileInfo(path).lastModified().msecsTo(m_clock.now()));
            const bool isLong = std::chrono::abs(age) >= state::InboxFigures::kLongWait;
            add(m_awaitsRemoval(path) ? FindingKind::notRemovedFromInbox
                : isLong              ? FindingKind::waitsLongInInbox
                                      : FindingKind::waitsInInbox,
                1,
                nameOf(QUrl::fromLocalFile(path)));
        }
        for (const QString &path : receive::setAsideFiles(folder)) {
            if (m_stop.stop_requested()) {
                return;
            }
            add(FindingKind::rejectedObject, 1, nameOf(QUrl::fromLocalFile(path)));
            if (m_repairs && takeIn(path)) {
                addMended(FindingKind::rejectedObject, 1);
            }
        }
    }

    /// Those that were used and from which nothing is taken.
    void tellInboxesOutOfReach(const receive::IncomingFolders &folders)
    {
        const QStringList former = folders.former();
        for (const QString &folder : folders.outOfSight()) {
            add(former.contains(folder) ? FindingKind::formerInboxOutOfSight : FindingKind::inboxOutOfSight,
                1,
                {folder, {}, {}});
        }
        for (const QString &folder : folders.ofAnotherHome()) {
            add(FindingKind::inboxOfAnotherHome, 1, {folder, {}, {}});
        }
    }

    void readFailures()
    {
        QList<FailedFiles> &failures = m_found.failures;
        for (const index::UploadFailureCount &count : m_index.failedUploads().counts()) {
            failures.append({{core::failureClassOf(count.failureClass), count.failureCode}, count.files, {}});
        }
        const auto lacksExamples = [](const FailedFiles &group) {
            return group.examples.size() < std::min<qint64>(kMostExamples, group.count);
        };
        constexpr int kFailuresOfAPage = 500;
        index::UploadFailureCursor cursor;
        while (std::ranges::any_of(failures, lacksExamples) && !m_stop.stop_requested()) {
            const auto page = m_index.failedUploads().next(kFailuresOfAPage, cursor);
            if (page.isEmpty()) {
                return;
            }
            for (const index::UploadFailure &failure : page) {
                addExample(failure);
            }
        }
    }

    Diagnosis result() &&
    {
        for (const auto &[kind, finding] : m_byKind) {
            m_found.findings.append(finding);
        }
        m_found.wasStopped = m_stop.stop_requested();
        return std::move(m_found);
    }

private:
    /// From here on nothing is mended: what is read from such an index is no ground to change anything.
    void giveUpOn(FindingKind kind, std::int64_t complaints = 1)
    {
        add(kind, complaints);
        m_repairs = false;
    }

    Finding &finding(FindingKind kind)
    {
        Finding &found = m_byKind[kind];
        found.kind = kind;
        return found;
    }

    void add(FindingKind kind, std::int64_t count)
    {
        if (count > 0) {
            finding(kind).count += count;
        }
    }

    void add(FindingKind kind, std::int64_t count, const FileName &example)
    {
        Finding &found = finding(kind);
        found.count += count;
        if (found.examples.size() < kMostExamples) {
            found.examples.append(example);
        }
    }

    void addMended(FindingKind kind, std::int64_t count)
    {
        if (count > 0) {
            finding(kind).mended += count;
        }
    }

    void addExample(const index::UploadFailure &failure)
    {
        const core::Failure why{core::failureClassOf(failure.failureClass), failure.failureCode};
        for (FailedFiles &group : m_found.failures) {
            if (group.failure == why && group.examples.size() < kMostExamples) {
                group.examples.append(nameOf(failure.fileURL, failure.storagePath, failure.sopInstanceUID));
                return;
            }
        }
    }

    /// \param folder  below the store's root; empty for the root. What is hidden isn't stored.
    void walk(const QString &folder)
    {
        const QString path = QDir::cleanPath(m_index.fileURL(folder).toLocalFile());
        const QString prefix = folder.isEmpty() ? QString() : folder + u'/';
        QStringList files;
        QStringList folders;
        const auto sort = [&](const platform::FolderEntry &entry) {
            const auto kind = entry.name().startsWith('.') ? FolderEntry::Kind::other : entry.kind();
            if (kind != FolderEntry::Kind::other) { // what can't be asked is told as a file
                (kind == FolderEntry::Kind::folder ? folders : files).append(QFile::decodeName(entry.name()));
            }
        };
        if (!platform::visitFolder(QFile::encodeName(path), sort) && !platform::isKnownToBeAbsent(path)) {
            add(FindingKind::unexaminedFile, 1, nameOf(QUrl::fromLocalFile(path)));
        }
        for (const QString &name : byNumber(files)) {
            if (m_stop.stop_requested()) {
                return;
            }
            ++m_found.storedFiles;
            lookAt(prefix + name);
        }
        for (const QString &name : byNumber(folders)) {
            walk(prefix + name);
        }
    }

    void lookAt(const QString &pathString)
    {
        const UnrecordedFile file = m_examination.lookAt(pathString);
        const FileName name =
            nameOf(file.fileURL, file.place ? pathString : QString(), file.object.sopInstanceUID);
        switch (file.kind) {
        case UnrecordedFile::Kind::none:
            return;
        case UnrecordedFile::Kind::image:
            record(FindingKind::unrecordedImage, file, name);
            return;
        case UnrecordedFile::Kind::earlierCopy:
            record(FindingKind::earlierCopy, file, name);
            return;
        case UnrecordedFile::Kind::wholeCopy:
            record(FindingKind::wholeCopy, file, name);
            return;
        case UnrecordedFile::Kind::unreadable:
            // A name that the store gave was given to an image once.
            add(file.place ? FindingKind::unreadableFile : FindingKind::foreignFile, 1, name);
            return;
        case UnrecordedFile::Kind::unexamined:
            add(FindingKind::unexaminedFile, 1, name);
            return;
        }
    }

    void record(FindingKind kind, const UnrecordedFile &file, const FileName &name)
    {
        add(kind, 1, name);
        // One that somebody put elsewhere takes no image's place.
        if (m_repairs && (file.place || file.kind == UnrecordedFile::Kind::image) && record(file)) {
            addMended(kind, 1);
            m_index.postLocalSyncStateChanged();
        }
    }

    /// Records a file where it lies; one that somebody put elsewhere is taken in as a copy.
    bool record(const UnrecordedFile &file)
    {
        try {
            if (file.place) {
                m_examination.record(file);
            } else {
                m_index.importFile(file.fileURL);
            }
            return true;
        } catch (const index::GatewayImportError &) {
            return false;
        } catch (const platform::FileError &) {
            return false;
        }
    }

    /// Imports what was set aside: the disk that couldn't be read, or the reader, may be a better one by now.
    bool takeIn(const QString &path)
    {
        log::StoreLogRecord record{.category = log::GatewayLogCategory::receive,
                                   .fileURL = QUrl::fromLocalFile(receive::nameBeforeSetAside(path)),
                                   .fileSizeBytes = QFileInfo(path).size(),
                                   .details = {{QStringLiteral("trigger"), QStringLiteral("doctor")}}};
        tell(record, log::GatewayLogAction::importAttempted, log::GatewayLogOutcome::started);
        try {
            const index::ImportedFileSummary summary =
                m_index.importFile(QUrl::fromLocalFile(path), index::ImportSource::ownInbox);
            const auto hash = log::hashedFileURL(summary.storedFile);
            record.details.insert(log::kStoredFileHashKey, hash.value_or(QString()));
        } catch (const index::GatewayImportError &error) {
            record.error = log::redactedError(QStringLiteral("QuorinGateway.GatewayImportError"),
                                              static_cast<int>(error.kind()),
                                              error.errorDescription());
            tell(record, log::GatewayLogAction::importFailed, log::GatewayLogOutcome::failed);
            return false;
        }
        tell(record, log::GatewayLogAction::importSucceeded, log::GatewayLogOutcome::succeeded);
        record.error = receive::removeFromInbox(path).error;
        tell(record,
             log::GatewayLogAction::incomingFileDeleted,
             record.error ? log::GatewayLogOutcome::failed : log::GatewayLogOutcome::succeeded);
        return !record.error;
    }

    void tell(log::StoreLogRecord record, log::GatewayLogAction action, log::GatewayLogOutcome outcome)
    {
        record.level = outcome == log::GatewayLogOutcome::failed ? log::GatewayLogLevel::error
                                                                 : log::GatewayLogLevel::info;
        record.action = action;
        record.outcome = outcome;
        m_emitter.emit(record);
    }

    bool isThere(const QString &storagePath) const
    {
        return QFileInfo(m_index.fileURL(storagePath.trimmed()).toLocalFile()).isFile();
    }

    void lookFor(const RecordedFile &seen)
    {
        ++m_found.recordedFiles;
        if (seen.storagePath.trimmed().isEmpty() || isThere(seen.storagePath)) {
            return;
        }
        // Rows go before their file does, and the file is there before they are: rows that are there after
        // the look lack their file.
        const std::optional<RecordedFile> file = m_examination.recordedFile(seen.storagePath);
        if (!file || isThere(seen.storagePath)) {
            return;
        }
        const QUrl fileURL = m_index.fileURL(file->storagePath.trimmed());
        const bool isNumbered = m_examination.isNumbered(file->storagePath);
        const FileName name = nameOf(fileURL, isNumbered ? file->storagePath : QString());
        if (!QFileInfo(QFileInfo(fileURL.toLocalFile()).path()).isDir()) {
            add(FindingKind::folderGone, 1, name);
        } else if (!platform::isKnownToBeAbsent(fileURL.toLocalFile())) {
            add(FindingKind::unexaminedFile, 1, name);
        } else if (file->isSynced) {
            add(FindingKind::fileGoneAfterUpload, 1, name);
        } else {
            add(FindingKind::fileGone, 1, name);
            markFailed(*file);
        }
    }

    /// What the next upload would do, done now; an upload under way does it itself.
    void markFailed(const RecordedFile &file)
    {
        if (!m_repairs || file.isInProgress) {
            return;
        }
        const index::FailedUpload failure{QString(core::rawValue(core::FailureClass::fileMissing)), 0};
        m_index.recordUploadResult({}, file.storagePath, false, {.failure = failure});
    }

    index::DicomDB &m_index;
    index::IndexExamination m_examination;
    log::StoreLogEmitter &m_emitter;
    const platform::Clock &m_clock;
    const std::function<bool(const QString &path)> &m_awaitsRemoval;
    bool m_repairs;
    bool m_isOfIndex = true; // the store that stands there
    const std::stop_token m_stop;
    Diagnosis m_found;
    std::map<FindingKind, Finding> m_byKind;
};

} // namespace

Diagnosis Doctor::examine(bool repair, const std::stop_token &stop)
{
    Round round(m_index, m_emitter, m_clock, m_awaitsRemoval, repair, stop);
    round.lookForFormerIndex();
    round.step([&] { round.checkIndex(); });
    round.step([&] { round.checkWriting(); });
    round.step([&] { round.checkStore(); });
    round.step([&] { round.lookForLostIndex(); });
    round.step([&] { round.recount(); });
    round.step([&] { round.walkStore(); });
    round.step([&] { round.walkRows(); });
    round.step([&] { round.lookAtRemovals(); });
    round.step([&] { round.lookAtPresentInbox(m_incomingFolders); });
    round.step([&] { round.tellInboxesOutOfReach(m_incomingFolders); });
    for (const QString &folder : m_incomingFolders.withinReach()) {
        round.step([&] { round.lookAtInbox(m_incomingFolders, folder); });
    }
    round.step([&] { round.readFailures(); });
    return std::move(round).result();
}

} // namespace gateway::doctor
