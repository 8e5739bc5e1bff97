#include "receive/manual_import_batch.h"

#include "receive/source_file.h"

#include <QtCore/QFile>

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace gateway::receive {

using Outcome = platform::UnpackedArchive::Outcome;

namespace {

/// "zip" or "rar" for an archive by its lower-cased extension, nothing for any other file.
std::optional<QString> archiveExtension(const QByteArray &path)
{
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    const qsizetype point = name.lastIndexOf('.');
    const QByteArray extension = point > 0 ? name.mid(point + 1).toLower() : QByteArray();
    return extension == "zip" || extension == "rar" ? std::optional(QString::fromLatin1(extension))
                                                    : std::nullopt;
}

/// Nothing for an outcome that passes over nothing.
std::optional<SkipReason> reasonFor(Outcome outcome)
{
    switch (outcome) {
    case Outcome::unpacked:
    case Outcome::stopped:
        return std::nullopt;
    case Outcome::unreadable:
        return SkipReason::damagedArchive;
    case Outcome::encrypted:
        return SkipReason::protectedArchive;
    case Outcome::tooLarge:
        return SkipReason::oversizedArchive;
    case Outcome::noStorage:
    case Outcome::unavailable:
        return SkipReason::storage;
    }
    return SkipReason::storage;
}

/// Why a source couldn't be read or copied; nothing when it could, or when the batch is to stop.
std::optional<SkipReason> reasonFor(SourceOutcome outcome)
{
    switch (outcome) {
    case SourceOutcome::done:
    case SourceOutcome::stopped:
        return std::nullopt;
    case SourceOutcome::unreadable:
        return SkipReason::unreadable;
    case SourceOutcome::special:
        return SkipReason::specialFile;
    case SourceOutcome::noStorage:
        return SkipReason::storage;
    }
    return SkipReason::storage;
}

} // namespace

ManualImportBatch::ManualImportBatch(Collaborators collaborators, Places places, std::stop_token stop)
    : m_with(std::move(collaborators)), m_places(std::move(places)), m_stop(std::move(stop)),
      m_begun(m_with.clock.monotonic()), m_collector(m_places.ownFolders)
{
}

ManualImportReport ManualImportBatch::run(const QList<QUrl> &urls)
{
    m_report.selectedItems = urls.size();
    enter(ManualImportReport::Phase::collecting);
    std::vector<Stack> stacks;
    for (const QUrl &url : urls) {
        collect(QFile::encodeName(url.toLocalFile()), {}, stacks.emplace_back());
    }
    enter(ManualImportReport::Phase::importing);
    for (Stack &stack : stacks) {
        m_report.stopped = m_report.stopped || (!stack.empty() && m_stop.stop_requested());
        work(std::move(stack));
    }
    return m_report;
}

void ManualImportBatch::collect(const QByteArray &path, const Item &around, Stack &stack)
{
    Collected found = m_collector.collect(path, m_stop);
    for (const QByteArray &folder : found.unlisted) {
        m_report.addUnlisted(around.tree ? around.tree->shownPath : QFile::decodeName(folder));
    }
    for (CollectedFile &file : found.files) {
        ++m_report.knownFiles;
        m_report.knownBytes += file.bytes;
        stack.push_back({std::move(file), around.tree, around.depth});
    }
    m_report.stopped = m_report.stopped || m_stop.stop_requested();
    tellProgress();
}

void ManualImportBatch::work(Stack stack)
{
    while (!stack.empty() && !m_report.stopped) {
        const Item item = std::move(stack.back());
        stack.pop_back();
        if (const std::optional<QString> extension = archiveExtension(item.file.path)) {
            openArchive(item, *extension, stack);
        } else {
            importOne(item);
        }
        m_report.stopped = m_report.stopped || (!stack.empty() && m_stop.stop_requested());
    }
}

void ManualImportBatch::openArchive(const Item &item, const QString &extension, Stack &stack)
{
    enter(ManualImportReport::Phase::unpacking);
    const std::optional<SkipReason> trouble = item.depth >= kDeepestArchive
                                                  ? std::optional(SkipReason::nestedTooDeep)
                                                  : unpack(item, extension, stack);
    m_report.phase = ManualImportReport::Phase::importing;
    if (!m_report.stopped) {
        itemDone(item, trouble);
    }
}

/// Unpacks a copy of the archive into a root of its own and pushes what came out.
///
/// \return why it is passed over; nothing also when it was stopped.
std::optional<SkipReason> ManualImportBatch::unpack(const Item &item, const QString &extension, Stack &stack)
{
    if (!hasRoomFor(item.file.bytes)) {
        return SkipReason::storage;
    }
    auto root = TemporaryRoot::make(m_places.temporaryFolder);
    if (!root) {
        return SkipReason::storage;
    }
    const QString input = root->inputFile(extension);
    const SourceOutcome copied = copySource(item.file.path, input, m_stop);
    if (copied != SourceOutcome::done) {
        m_report.stopped = copied == SourceOutcome::stopped;
        return reasonFor(copied);
    }
    Item inside{{}, item.tree, item.depth + 1};
    if (!inside.tree) {
        const qint64 allowed = std::max(kAlwaysAllowedBytes, item.file.bytes * kLargestRatio);
        inside.tree = std::make_shared<Tree>(Tree{QFile::decodeName(item.file.path), kMostEntries, allowed});
    }
    const platform::UnpackedArchive unpacked = m_with.unpacking.unpack(
        input,
        root->extractedFolder(),
        limitsFor(*inside.tree),
        [this](qint64, qint64) { tellProgress(); },
        m_stop);
    QFile::remove(input);
    m_report.leftInArchives += unpacked.leftOut;
    if (unpacked.outcome == Outcome::unpacked) {
        inside.tree->entriesLeft -= unpacked.files + unpacked.leftOut;
        inside.tree->bytesLeft -= unpacked.bytes;
        collect(QFile::encodeName(root->extractedFolder()), inside, stack);
        m_roots.push_back(std::move(root));
    }
    m_report.stopped = m_report.stopped || unpacked.outcome == Outcome::stopped;
    return reasonFor(unpacked.outcome);
}

platform::ArchiveLimits ManualImportBatch::limitsFor(const Tree &tree) const
{
    return {std::max<qint64>(tree.entriesLeft, 0), std::max<qint64>(tree.bytesLeft, 0), kReserveBytes};
}

void ManualImportBatch::importOne(const Item &item)
{
    std::optional<SkipReason> skipped = obstacle(item);
    if (m_report.stopped) {
        return; // in the middle of reading it: as if its turn had not come
    }
    ++m_report.candidateFiles;
    if (!skipped) {
        skipped = importFile(item);
    }
    m_report.importedFiles += skipped ? 0 : 1;
    if (item.tree) {
        // Our own copy, which has served: many large ones must not lie here until the batch ends.
        ::unlink(item.file.path.constData());
    }
    itemDone(item, skipped);
}

/// What speaks against importing the file, found without handing it to the index.
std::optional<SkipReason> ManualImportBatch::obstacle(const Item &item)
{
    if (!hasRoomFor(item.file.bytes)) {
        return SkipReason::storage;
    }
    if (item.tree) {
        return std::nullopt;
    }
    // An import waits for trouble of the disk to pass, and can't tell a scratched medium from the gateway's
    // own disk. A source that has just been read to its end costs nobody that time.
    const SourceOutcome read = readThrough(item.file.path, m_stop);
    m_report.stopped = m_report.stopped || read == SourceOutcome::stopped;
    return reasonFor(read);
}

std::optional<SkipReason> ManualImportBatch::importFile(const Item &item)
{
    using Error = index::GatewayImportError;
    using Blame = Error::Blame;
    try {
        m_with.dbService.importFile(urlOf(item.file.path));
        return std::nullopt;
    } catch (const Error &error) {
        switch (error.kind()) {
        case Error::Kind::invalidSourceURL:
            return SkipReason::unreadable;
        case Error::Kind::copyToTemporaryFailed:
        case Error::Kind::moveToLocalDirectoryFailed:
            return SkipReason::storage;
        case Error::Kind::objectDamaged:
            return SkipReason::damagedObject;
        case Error::Kind::dicomParseFailed:
        case Error::Kind::databaseSaveRejected:
            return error.blame() == Blame::file      ? SkipReason::notDicom
                   : error.blame() == Blame::reading ? SkipReason::unreadable
                                                     : SkipReason::storage;
        }
    }
    return SkipReason::storage;
}

/// The file as an URL, by an alias where its name isn't UTF-8.
QUrl ManualImportBatch::urlOf(const QByteArray &path)
{
    const QString decoded = QFile::decodeName(path);
    if (QFile::encodeName(decoded) == path) {
        return QUrl::fromLocalFile(decoded);
    }
    if (!m_aliases) {
        m_aliases = TemporaryRoot::make(m_places.temporaryFolder);
    }
    return m_aliases ? QUrl::fromLocalFile(m_aliases->aliasOf(path)) : QUrl();
}

bool ManualImportBatch::hasRoomFor(qint64 bytes) const
{
    const std::optional<qint64> available = m_with.availableBytes();
    return !available || *available - bytes >= kReserveBytes;
}

void ManualImportBatch::itemDone(const Item &item, std::optional<SkipReason> skipped)
{
    if (skipped) {
        m_report.addSkipped(*skipped, item.tree ? item.tree->shownPath : QFile::decodeName(item.file.path));
    }
    ++m_report.doneFiles;
    m_report.doneBytes += item.file.bytes;
    tellProgress();
}

void ManualImportBatch::enter(ManualImportReport::Phase phase)
{
    m_report.phase = phase;
    tellProgress();
}

void ManualImportBatch::tellProgress()
{
    m_report.elapsed = m_with.clock.monotonic() - m_begun;
    m_with.onProgress(m_report);
}

} // namespace gateway::receive
