// Whatever happens in whatever order: no bytes of an acknowledged image go before they may.

#include "index/stored_copies.h"

#include "index/testing/temporary_index.h"
#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace gateway::index {

namespace {

using std::chrono::nanoseconds;
using testing::TemporaryIndex;

constexpr int kInstances = 2;
constexpr int kContents = 5; // of an instance; those from kFirstDamaged on are damaged
constexpr int kFirstDamaged = 3;
constexpr int kSteps = 70;

/// A version of an image that somebody was told is taken.
struct Version
{
    int instance = 0;
    int content = 0;
    std::int64_t acknowledged = 0;
    bool isRecorded = false;  // an import of it succeeded
    bool isProven = false;    // the file of this version is in the cloud
    bool isDeleted = false;   // by a person
    bool isBroughtIn = false; // by a person: no modality was told of it

    bool isWhole() const { return content < kFirstDamaged; }
};

struct InboxFile
{
    QString path;
    std::size_t version = 0;
};

/// An upload that has begun.
struct Upload
{
    PendingImageUpload candidate;
    QByteArray bytes;
    std::int64_t acknowledged = 0;
};

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A gateway's index and store under a random sequence of events, and the model of what it owes.
class RandomLife
{
public:
    explicit RandomLife(unsigned seed) : m_random(seed) {}

    void step()
    {
        using Event = void (RandomLife::*)();
        static constexpr Event kEvents[] = {&RandomLife::receive,
                                            &RandomLife::receive,
                                            &RandomLife::import,
                                            &RandomLife::import,
                                            &RandomLife::import,
                                            &RandomLife::bringIn,
                                            &RandomLife::failToSave,
                                            &RandomLife::beginUpload,
                                            &RandomLife::beginUpload,
                                            &RandomLife::endUpload,
                                            &RandomLife::endUpload,
                                            &RandomLife::prune,
                                            &RandomLife::deleteStudy,
                                            &RandomLife::repair,
                                            &RandomLife::restart,
                                            &RandomLife::loseIndex,
                                            &RandomLife::hideOrShow,
                                            &RandomLife::hideOrShow};
        (this->*kEvents[below(std::ssize(kEvents))])();
    }

    /// The bytes of all versions that are owed and neither on the disk nor replaced by what is in the cloud.
    QStringList lost()
    {
        const QList<QByteArray> there = allBytes();
        QStringList missing;
        for (const Version &version : m_versions) {
            if (!version.isDeleted && !mayGo(version) && !there.contains(contentOf(version))) {
                missing.append(QStringLiteral("instance %1 content %2 of %3")
                                   .arg(version.instance)
                                   .arg(version.content)
                                   .arg(version.acknowledged));
            }
        }
        return missing;
    }

    /// Lets everything come to its end: all is imported, mended and sent.
    void settle()
    {
        show();
        while (!m_inbox.empty()) {
            importAt(m_inbox.size() - 1, true);
        }
        repair();
        for (Upload upload; !(upload = begun()).candidate.storagePath.isEmpty();) {
            end(upload, true);
        }
    }

    /// The images of which the last whole version never came to the cloud.
    QStringList unsent() const
    {
        QStringList found;
        for (int instance = 0; instance < kInstances; ++instance) {
            const Version *last = nullptr;
            for (const Version &version : m_versions) {
                const bool counts = version.instance == instance && version.isWhole();
                last = counts && (!last || version.acknowledged > last->acknowledged) ? &version : last;
            }
            if (last && !last->isDeleted && !last->isProven) {
                found.append(QStringLiteral("instance %1 content %2").arg(instance).arg(last->content));
            }
        }
        return found;
    }

    const QString &story() const { return m_story; }

private:
    qsizetype below(qsizetype count)
    {
        return static_cast<qsizetype>(m_random() % static_cast<unsigned>(count));
    }

    void tell(const QString &event) { m_story += event + u'\n'; }

    static QVariantMap elementsOf(int instance, int content)
    {
        return TemporaryIndex::image(QStringLiteral("9.%1").arg(instance),
                                     {{QStringLiteral("studyID"), studyOf(instance)},
                                      {QStringLiteral("ImageComments"), QString::number(content)},
                                      {QStringLiteral("numberOfFrames"), 1 + content % 3},
                                      {QStringLiteral("damaged"), content >= kFirstDamaged}});
    }

    static QString studyOf(int instance) { return QStringLiteral("1.2.%1").arg(instance); }

    QByteArray contentOf(const Version &version)
    {
        return bytesOf(m_home.file(elementsOf(version.instance, version.content), QStringLiteral("model"))
                           .toLocalFile());
    }

    bool mayGo(const Version &version) const
    {
        return std::ranges::any_of(m_versions, [&](const Version &other) {
            const bool isSame = other.content == version.content;
            const bool isLater = other.isWhole() && other.acknowledged > version.acknowledged &&
                                 (version.isBroughtIn || !other.isBroughtIn);
            return other.isProven && other.instance == version.instance && (isSame || isLater);
        });
    }

    QStringList stored() const
    {
        QStringList paths;
        QDirIterator file(m_home.fileStoreRoot(), QDir::Files, QDirIterator::Subdirectories);
        while (file.hasNext()) {
            paths.append(QDir(m_home.fileStoreRoot()).relativeFilePath(file.next()));
        }
        std::ranges::sort(paths, {}, [](const QString &path) { return path.section(u'/', -1).toLongLong(); });
        return paths;
    }

    QList<QByteArray> allBytes() const
    {
        QList<QByteArray> bytes{bytesOf(m_home.path(QStringLiteral("hidden")))};
        for (const QString &path : stored()) {
            bytes.append(bytesOf(m_home.fileStoreRoot() + u'/' + path));
        }
        for (const InboxFile &file : m_inbox) {
            bytes.append(bytesOf(file.path));
        }
        return bytes;
    }

    void receive()
    {
        m_time += std::chrono::seconds(1);
        const Version version{
            static_cast<int>(below(kInstances)), static_cast<int>(below(kContents)), m_time.count()};
        const QString path = m_home.path(QStringLiteral("inbox-%1.dcm").arg(m_versions.size()));
        testing::writeSyntheticFile(path, elementsOf(version.instance, version.content));
        platform::systemFiles().setModified(path, m_time);
        m_inbox.push_back({path, m_versions.size()});
        m_versions.push_back(version);
        tell(QStringLiteral("receive %1/%2").arg(version.instance).arg(version.content));
    }

    void import()
    {
        if (!m_inbox.empty()) {
            importAt(static_cast<std::size_t>(below(std::ssize(m_inbox))), below(4) > 0);
        }
    }

    void importAt(std::size_t place, bool leavesInbox)
    {
        const InboxFile file = m_inbox[place];
        tell(QStringLiteral("import %1%2")
                 .arg(file.path.section(u'-', -1), leavesInbox ? QString() : QStringLiteral(", stays")));
        m_home.clock.advance(std::chrono::milliseconds(1));
        m_home.index().importFile(QUrl::fromLocalFile(file.path), ImportSource::ownInbox);
        m_versions[file.version].isRecorded = true;
        if (leavesInbox) {
            QFile::remove(file.path);
            m_inbox.erase(m_inbox.begin() + static_cast<std::ptrdiff_t>(place));
        }
    }

    void bringIn()
    {
        Version version{static_cast<int>(below(kInstances)), static_cast<int>(below(kFirstDamaged))};
        tell(QStringLiteral("bring in %1/%2").arg(version.instance).arg(version.content));
        m_home.index().importFile(m_home.file(elementsOf(version.instance, version.content)));
        version.acknowledged =
            m_home.number(QStringLiteral("SELECT max(acknowledged) FROM DicomImage WHERE comment = '%1' AND "
                                         "originalSOPInstanceUID = '9.%2'")
                              .arg(version.content)
                              .arg(version.instance));
        version.isRecorded = true;
        version.isBroughtIn = true;
        m_time = std::max(m_time, nanoseconds(version.acknowledged));
        m_versions.push_back(version);
    }

    void failToSave()
    {
        if (m_inbox.empty()) {
            return;
        }
        tell(QStringLiteral("fail to save"));
        m_home.execute(QStringLiteral("CREATE TRIGGER fails BEFORE UPDATE ON Ledger "
                                      "BEGIN SELECT RAISE(ABORT, 'no'); END"));
        const InboxFile file = m_inbox[static_cast<std::size_t>(below(std::ssize(m_inbox)))];
        EXPECT_THROW(m_home.index().importFile(QUrl::fromLocalFile(file.path), ImportSource::ownInbox),
                     GatewayImportError);
        m_home.execute(QStringLiteral("DROP TRIGGER fails"));
    }

    /// The next upload, begun; one without a path where none can begin.
    Upload begun()
    {
        for (const PendingImageUpload &candidate : m_home.index().pendingImageUploads(8)) {
            const QString path = candidate.fileURL.toLocalFile();
            const auto identity = platform::fileIdentity(path);
            if (identity) {
                m_home.index().markImagesInProgress(candidate.imageObjectIDs);
                return {candidate, bytesOf(path), identity->modified.count()};
            }
        }
        return {};
    }

    void end(const Upload &upload, bool synced)
    {
        m_home.index().recordUploadResult(
            upload.candidate.imageObjectIDs, upload.candidate.storagePath, synced);
        for (Version &version : m_versions) {
            version.isProven = version.isProven || (synced && version.acknowledged == upload.acknowledged &&
                                                    contentOf(version) == upload.bytes);
        }
    }

    void beginUpload()
    {
        if (const Upload upload = begun(); !upload.candidate.storagePath.isEmpty()) {
            tell(QStringLiteral("begin ") + upload.candidate.storagePath);
            m_uploads.push_back(upload);
        }
    }

    void endUpload()
    {
        if (!m_uploads.empty()) {
            const bool synced = below(4) > 0;
            tell(QStringLiteral("%1 %2").arg(synced ? QStringLiteral("sent") : QStringLiteral("failed"),
                                             m_uploads.front().candidate.storagePath));
            end(m_uploads.front(), synced);
            m_uploads.erase(m_uploads.begin());
        }
    }

    void prune()
    {
        m_home.clock.advance(std::chrono::hours(24));
        tell(QStringLiteral("prune"));
        m_home.index().pruneSyncedImages(m_home.clock.now());
    }

    void deleteStudy()
    {
        const int instance = static_cast<int>(below(kInstances));
        tell(QStringLiteral("delete %1").arg(instance));
        m_home.index().deleteStudies({studyOf(instance)});
        for (Version &version : m_versions) {
            version.isDeleted = version.isDeleted || (version.isRecorded && version.instance == instance);
        }
    }

    void repair()
    {
        tell(QStringLiteral("repair"));
        auto examination = m_home.index().examination();
        for (const QString &path : stored()) {
            const UnrecordedFile found = examination.lookAt(path);
            using Kind = UnrecordedFile::Kind;
            if (found.kind == Kind::image || found.kind == Kind::earlierCopy ||
                found.kind == Kind::wholeCopy) {
                examination.record(found);
            }
        }
        m_home.index().finishRemovals();
    }

    void restart()
    {
        tell(QStringLiteral("restart"));
        m_uploads.clear();
        m_home.reopen();
        m_home.index().recoverInProgressImages();
        m_home.index().finishRemovals();
    }

    void loseIndex()
    {
        if (below(3) > 0) {
            return;
        }
        tell(QStringLiteral("lose index"));
        m_uploads.clear();
        m_home.close();
        QDir(m_home.path(QStringLiteral("index"))).removeRecursively();
        m_home.reopen();
        m_home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {});
    }

    void hideOrShow()
    {
        const QStringList paths = stored();
        if (!m_hidden.isEmpty()) {
            show();
        } else if (!paths.isEmpty()) {
            m_hidden = paths[below(paths.size())];
            tell(QStringLiteral("hide ") + m_hidden);
            QFile::rename(m_home.fileStoreRoot() + u'/' + m_hidden, m_home.path(QStringLiteral("hidden")));
        }
    }

    void show()
    {
        if (!m_hidden.isEmpty()) {
            tell(QStringLiteral("show ") + m_hidden);
            QFile::rename(m_home.path(QStringLiteral("hidden")), m_home.fileStoreRoot() + u'/' + m_hidden);
            m_hidden.clear();
        }
    }

    mutable TemporaryIndex m_home;
    std::mt19937 m_random;
    nanoseconds m_time = std::chrono::seconds(1'700'000'000);
    std::vector<Version> m_versions;
    std::vector<InboxFile> m_inbox;
    std::vector<Upload> m_uploads;
    QString m_hidden;
    QString m_story;
};

} // namespace

class StoredCopiesInAnyOrder : public ::testing::TestWithParam<unsigned>
{
};

TEST_P(StoredCopiesInAnyOrder, LoseNothingThatWasAcknowledgedBeforeItIsInTheCloud)
{
    RandomLife life(GetParam());
    for (int step = 0; step < kSteps; ++step) {
        life.step();
        ASSERT_EQ(life.lost(), QStringList()) << "seed " << GetParam() << "\n" << life.story().toStdString();
    }
    life.settle();

    EXPECT_EQ(life.lost(), QStringList()) << "seed " << GetParam() << "\n" << life.story().toStdString();
    EXPECT_EQ(life.unsent(), QStringList()) << "seed " << GetParam() << "\n" << life.story().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Seeds, StoredCopiesInAnyOrder, ::testing::Range(1U, 17U));

} // namespace gateway::index
