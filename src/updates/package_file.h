#pragma once

#include "updates/appcast.h"

#include <QtCore/QByteArrayView>
#include <QtCore/QFile>
#include <QtCore/QString>

namespace gateway::updates {

/// The file into which a package is fetched. Its name comes from what was signed, so that what is left of one
/// package is never taken for the beginning of another.
///
/// Owner: whoever fetches. Thread: one at a time.
class PackageFile
{
public:
    /// Free space that a package leaves on its volume, which may be that of the stored images.
    static constexpr qint64 kReserveBytes = qint64{1} << 30;

    /// Removes what is left of other packages, and what can't be the beginning of this one.
    ///
    /// \param folder  made where it is missing.
    /// \throws UpdateError  noRoom, notWritable
    PackageFile(const QString &folder, const AppcastItem &item, qint64 reserveBytes = kReserveBytes);

    const QString &path() const { return m_path; }

    /// Bytes that are there.
    qint64 size() const { return m_size; }

    /// \throws UpdateError  noRoom, notWritable; damaged when it is more than the package has
    void append(QByteArrayView bytes);

    /// Forgets all that is there. \throws UpdateError  notWritable
    void clear();

    /// Closes the file and compares it with what was signed. \throws UpdateError  damaged; the file is gone
    void verify();

private:
    void sweepOthers() const;
    [[noreturn]] void failWriting();

    const QString m_folder;
    const AppcastItem m_item;
    const QString m_path;
    QFile m_file;
    qint64 m_size = 0;
};

} // namespace gateway::updates
