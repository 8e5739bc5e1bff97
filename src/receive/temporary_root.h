#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

namespace gateway::receive {

/// A folder "QuorinGatewayManualImport-<UUID>" for what a batch needs for a while: an archive's copy and what
/// came out of it. It goes, with all that is in it, when this does; failures are ignored, since the next
/// sweep follows.
///
/// Owner: a batch. Thread: the batch's.
class TemporaryRoot
{
public:
    /// Makes the folder, and the folder for extracted files in it. \return nothing when that fails.
    static std::unique_ptr<TemporaryRoot> make(const QString &temporaryFolder);

    /// Removes what a crash left behind. No batch may be under way.
    static void sweep(const QString &temporaryFolder);

    ~TemporaryRoot();

    TemporaryRoot(const TemporaryRoot &) = delete;
    TemporaryRoot &operator=(const TemporaryRoot &) = delete;

    QString extractedFolder() const;

    /// Where the copy of an archive with this extension belongs.
    QString inputFile(const QString &extension) const;

    /// Where the next copy of a file belongs: a name of its own, with the extension of that file where this
    /// is UTF-8.
    QString nextCopy(const QByteArray &path);

private:
    explicit TemporaryRoot(QString path) : m_path(std::move(path)) {}

    const QString m_path;
    int m_copies = 0;
};

} // namespace gateway::receive
