#include "cloud/store/instance_store.h"

#include "cloud/dicom/attributes.h"
#include "cloud/store/mapped_file.h"
#include "cloud/store/secrets.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <set>
#include <system_error>

namespace gateway::cloud {

namespace {

// Sixteen folders: few to make, and file systems with indexed folders find a file among many as fast.
constexpr int kBucketDigits = 1;
constexpr int kBuckets = 16;

QString incoming(const QString &folder)
{
    return folder + QStringLiteral("/incoming");
}

/// Makes the folder and what is missing above it.
QString madeFolder(const QString &path)
{
    if (!QDir().mkpath(path)) {
        throw std::system_error(errno, std::generic_category(), "make folder " + path.toStdString());
    }
    return QDir(path).absolutePath();
}

QString bucketOf(const QString &file)
{
    return file.left(kBucketDigits);
}

} // namespace

InstanceStore::InstanceStore(const QString &folder, bool durable)
    : m_folder(madeFolder(folder)), m_durable(durable),
      m_index(m_folder + QStringLiteral("/archive.sqlite"), durable)
{
    makeFolders();
    sweep();
}

void InstanceStore::makeFolders() const
{
    madeFolder(incoming(m_folder));
    for (int bucket = 0; bucket < kBuckets; ++bucket) {
        madeFolder(pathOf(QStringLiteral("%1").arg(bucket, kBucketDigits, 16, QLatin1Char('0'))));
    }
    if (m_durable) {
        syncFolder(pathOf(QString()));
        syncFolder(m_folder);
    }
}

void InstanceStore::sweep() const
{
    const std::set<QString> known = m_index.files();
    QDirIterator unfinished(incoming(m_folder), QDir::Files);
    while (unfinished.hasNext()) {
        QFile::remove(unfinished.next());
    }
    const QString root = pathOf(QString());
    QDirIterator placed(root, QDir::Files, QDirIterator::Subdirectories);
    while (placed.hasNext()) {
        const QString path = placed.next();
        if (!known.contains(path.mid(root.size()))) {
            QFile::remove(path);
        }
    }
}

std::unique_ptr<PartFile> InstanceStore::newPart() const
{
    return std::make_unique<PartFile>(incoming(m_folder));
}

NewInstance InstanceStore::place(PartFile &part) const
{
    NewInstance instance;
    {
        const MappedFile mapped(part.descriptor());
        instance.summary = summarize(mapped.bytes());
    }
    // By study, so that an upload has few folders to sync.
    const QByteArray bucket = sha256(instance.summary.value(kStudyInstanceUid).toUtf8()).left(kBucketDigits);
    instance.file = QString::fromLatin1(bucket) + u'/' + QUuid::createUuid().toString(QUuid::Id128) +
                    QStringLiteral(".dcm");
    instance.bytes = static_cast<std::int64_t>(part.size());
    part.moveTo(pathOf(instance.file));
    return instance;
}

void InstanceStore::syncAll(const std::vector<NewInstance> &instances) const
{
    std::set<QString> buckets;
    for (const NewInstance &instance : instances) {
        syncFile(pathOf(instance.file));
        buckets.insert(bucketOf(instance.file));
    }
    for (const QString &bucket : buckets) {
        syncFolder(pathOf(bucket));
    }
}

void InstanceStore::commit(const std::vector<NewInstance> &instances)
{
    std::vector<QString> unused;
    try {
        if (m_durable) {
            syncAll(instances);
        }
        unused = m_index.record(instances);
    } catch (...) {
        discard(instances);
        throw;
    }
    for (const QString &file : unused) {
        QFile::remove(pathOf(file));
    }
}

void InstanceStore::discard(const std::vector<NewInstance> &instances) const
{
    for (const NewInstance &instance : instances) {
        QFile::remove(pathOf(instance.file));
    }
}

std::size_t InstanceStore::remove(const InstanceScope &scope)
{
    const std::vector<QString> files = m_index.remove(scope);
    for (const QString &file : files) {
        QFile::remove(pathOf(file));
    }
    return files.size();
}

} // namespace gateway::cloud
