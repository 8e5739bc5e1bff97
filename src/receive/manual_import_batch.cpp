#include "receive/manual_import_batch.h"

#include "receive/source_file.h"
#include "receive/source_look.h"

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
    : m_collaborators(std::move(collaborators)), m_places(std::move(places)), m_stop(std::move(stop)),
      m_begun(m_collaborators.clock.monotonic()),
      m_collector(std::make_shared<FileCollector>(m_places.ownFolders))
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

/// \return nothing when the batch is to stop, or where disks don't answer.
template <typename Look>
auto ManualImportBatch::look(Look look)
{
    using Answer = decltype(lookPatiently(m_collaborators.clock, std::move(look), m_stop));
    if (m_isSilent || m_stop.stop_requested()) {
        return Answer();
    }
    Answer answer = lookPatiently(m_collaborators.clock, std::move(look), m_stop);
    m_isSilent = !answer && !m_stop.stop_requested();
    return answer;
}

void ManualImportBatch::collect(const QByteArray &path, const Item &around, Stack &stack)
{
    std::optional<Collected> found =
        look([collector = m_collector, path](const std::stop_token &stop, Pulse &pulse) {
            return collector->collect(path, stop, pulse);
        });
    if (!found) {
        found.emplace();
        if (m_isSilent) {
            found->unlisted.append(path);
        }
    }
    for (const QByteArray &folder : found->unlisted) {
        m_report.addUnlisted(around.tree ? around.tree->shownPath : QFile::decodeName(folder));
    }
    for (CollectedFile &file : found->files) {
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
    const std::shared_ptr<TemporaryRoot> root = TemporaryRoot::make(m_places.temporaryFolder);
    if (!root) {
        return SkipReason::storage;
    }
    const QString input = root->inputFile(extension);
    const std::optional<SkipReason> trouble = copy(item.file.path, input, root);
    if (trouble || m_report.stopped) {
        return trouble;
    }
    Item inside{{}, item.tree, item.depth + 1};
    if (!inside.tree) {
        const qint64 allowed = std::max(kAlwaysAllowedBytes, item.file.bytes * kLargestRatio);
        inside.tree = std::make_shared<Tree>(Tree{QFile::decodeName(item.file.path), kMostEntries, allowed});
    }
    const platform::UnpackedArchive unpacked = m_collaborators.unpacking.unpack(
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
        m_roots.push_back(root);
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
    const OwnFile file = take(item);
    if (m_report.stopped) {
        return; // in the middle of reading it: as if its turn had not come
    }
    ++m_report.candidateFiles;
    const std::optional<SkipReason> skipped = file.trouble ? file.trouble : importFile(file.path);
    m_report.importedFiles += skipped ? 0 : 1;
    // Our own copies, which have served: many large ones must not lie here until the batch ends.
    if (!file.path.isEmpty()) {
        QFile::remove(file.path);
    }
    if (item.tree) {
        ::unlink(item.file.path.constData());
    }
    itemDone(item, skipped);
}

/// The operator's files are copied: the index waits for trouble of the disk to pass and can't be stopped, and
/// would take a scratched medium or a dead share for its own disk.
ManualImportBatch::OwnFile ManualImportBatch::take(const Item &item)
{
    const QString decoded = QFile::decodeName(item.file.path);
    const bool isOurs = item.tree && QFile::encodeName(decoded) == item.file.path;
    if (!hasRoomFor(isOurs ? item.file.bytes : 2 * item.file.bytes)) {
        return {{}, SkipReason::storage};
    }
    if (isOurs) {
        return {decoded, std::nullopt};
    }
    if (!m_copies) {
        m_copies = TemporaryRoot::make(m_places.temporaryFolder);
    }
    if (!m_copies) {
        return {{}, SkipReason::storage};
    }
    const QString path = m_copies->nextCopy(item.file.path);
    return {path, copy(item.file.path, path, m_copies)};
}

/// Copies a source into a temporary root; nothing also when it was stopped.
std::optional<SkipReason> ManualImportBatch::copy(const QByteArray &path,
                                                  const QString &destination,
                                                  std::shared_ptr<TemporaryRoot> root)
{
    const std::optional<SourceOutcome> copied =
        look([path, destination, root = std::move(root)](const std::stop_token &stop, Pulse &pulse) {
            return copySource(path, destination, stop, pulse);
        });
    m_report.stopped = m_report.stopped || copied.value_or(SourceOutcome::done) == SourceOutcome::stopped ||
                       (!copied && m_stop.stop_requested());
    if (m_report.stopped) {
        return std::nullopt;
    }
    return reasonFor(copied.value_or(SourceOutcome::unreadable));
}

std::optional<SkipReason> ManualImportBatch::importFile(const QString &path)
{
    using Error = index::GatewayImportError;
    using Blame = Error::Blame;
    try {
        m_collaborators.dbService.importFile(QUrl::fromLocalFile(path));
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

bool ManualImportBatch::hasRoomFor(qint64 bytes) const
{
    const std::optional<qint64> available = m_collaborators.availableBytes();
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
    m_report.elapsed = m_collaborators.clock.monotonic() - m_begun;
    m_collaborators.onProgress(m_report);
}

} // namespace gateway::receive
