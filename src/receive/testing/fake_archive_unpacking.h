#pragma once

#include "platform/archive/archive_unpacking.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QIODevice>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <functional>

namespace gateway::receive::testing {

/// Files of a test's archive by their paths in it.
using ArchiveContents = QMap<QString, QByteArray>;

/// The bytes that FakeArchiveUnpacking takes for an archive with these files.
inline QByteArray archiveOf(const ArchiveContents &contents)
{
    QByteArray bytes("ARCHIVE ");
    QDataStream stream(&bytes, QIODevice::Append);
    stream << contents;
    return bytes;
}

/// Unpacks what `archiveOf` packed; an archive that begins with "LOCKED" has a password, any other is
/// damaged.
///
/// Thread: any, one at a time.
class FakeArchiveUnpacking final : public platform::ArchiveUnpacking
{
public:
    platform::UnpackedArchive unpack(const QString &archive,
                                     const QString &folder,
                                     const platform::ArchiveLimits &limits,
                                     const Progress &progress,
                                     std::stop_token stop) override
    {
        using Outcome = platform::UnpackedArchive::Outcome;
        lastLimits = limits;
        lastArchive = archive;
        QFile file(archive);
        if (!file.open(QIODevice::ReadOnly)) {
            return {Outcome::noStorage};
        }
        const QByteArray bytes = file.readAll();
        if (bytes.startsWith("LOCKED")) {
            return {Outcome::encrypted};
        }
        if (!bytes.startsWith("ARCHIVE ")) {
            return {Outcome::unreadable};
        }
        QDataStream stream(bytes.mid(8));
        ArchiveContents contents;
        stream >> contents;
        platform::UnpackedArchive done{Outcome::unpacked};
        for (auto entry = contents.cbegin(); entry != contents.cend(); ++entry) {
            done.bytes += entry.value().size();
            if (++done.files > limits.entries || done.bytes > limits.bytes) {
                return {Outcome::tooLarge};
            }
            put(folder + u'/' + entry.key(), entry.value());
            progress(done.files, done.bytes);
            if (onEntry) {
                onEntry(stop);
            }
            if (stop.stop_requested()) {
                return {Outcome::stopped};
            }
        }
        return done;
    }

    /// Called after each file, on the thread that unpacks.
    std::function<void(const std::stop_token &)> onEntry;

    platform::ArchiveLimits lastLimits;
    QString lastArchive;

private:
    static void put(const QString &path, const QByteArray &content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("a test file could not be unpacked");
        }
    }
};

} // namespace gateway::receive::testing
