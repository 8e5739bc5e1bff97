#pragma once

#include <QtCore/QString>

#include <exception>
#include <optional>

namespace gateway::index {

/// Why a file was not imported.
///
/// Thread: any; a value.
class GatewayImportError : public std::exception
{
public:
    enum class Kind
    {
        copyToTemporaryFailed,
        invalidSourceURL,
        dicomParseFailed,
        moveToLocalDirectoryFailed,
        databaseSaveRejected,
        objectDamaged
    };

    /// Whose fault it was, which decides what may become of the source.
    enum class Blame
    {
        /// The file itself: it isn't a readable DICOM object, or there is no file to speak of. Trying again
        /// with the same bytes can't end otherwise.
        file,

        /// Reading it, now: the system gave an error in place of bytes, or no reader survived them. The same
        /// file may be imported later, but it alone is in trouble, and perhaps for good.
        reading,

        /// The storage, the index or the parsing service, now: the same file may be imported later, so a
        /// source that nobody else keeps must not be deleted.
        storage
    };

    /// \param code  errno, where there is one.
    GatewayImportError(Kind kind, Blame blame, QString underlying = {}, int code = 0);

    Kind kind() const { return m_kind; }
    Blame blame() const { return m_blame; }

    /// The operating system's or the database's own words, where there are any.
    const QString &underlying() const { return m_underlying; }

    /// The operating system's number for it, 0 where there is none.
    int code() const { return m_code; }

    /// The sentence for the operator.
    QString errorDescription() const;

    const char *what() const noexcept override { return m_what.constData(); }

private:
    Kind m_kind;
    Blame m_blame;
    QString m_underlying;
    int m_code;
    QByteArray m_what;
};

} // namespace gateway::index
