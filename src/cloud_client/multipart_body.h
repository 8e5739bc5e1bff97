#pragma once

#include "cloud_client/http_message.h"
#include "platform/descriptors/descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>

namespace gateway::cloud_client {

/// What a file was when it was looked at: enough to notice that it is another file by the time it is sent.
struct FileIdentity
{
    qint64 size = 0;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    qint64 modified = 0; ///< nanoseconds since the epoch

    bool operator==(const FileIdentity &) const = default;
};

/// A regular file open for reading. Thread: one at a time.
class ReadableFile
{
public:
    /// Opens the file; never waits for the other end of a pipe.
    ///
    /// \return nothing when it can't be opened or isn't a regular file.
    static std::optional<ReadableFile> open(const QString &path);

    const FileIdentity &identity() const { return m_identity; }

    /// Reads up to `capacity` bytes at `offset`; -1 on an error, 0 at the end.
    qint64 read(qint64 offset, char *buffer, qint64 capacity) const;

    /// True while the file still is what it was when it was opened.
    bool isUnchanged() const;

private:
    ReadableFile(platform::Descriptor descriptor, FileIdentity identity);

    platform::Descriptor m_descriptor;
    FileIdentity m_identity;
};

/// One part of a body: its header lines, and then bytes or a file.
struct BodyPart
{
    QByteArray headers; ///< each line ended by CRLF
    QByteArray bytes;   ///< the content, where `path` is empty
    QString path;       ///< the file that is the content
    FileIdentity identity;

    qint64 contentSize() const { return path.isEmpty() ? bytes.size() : identity.size; }
};

/// A file was no longer what it had been when the body's length was told to the server.
class FileChanged final : public std::exception
{
public:
    explicit FileChanged(qsizetype part) : m_part(part) {}
    const char *what() const noexcept override { return "a file changed while it was being sent"; }

    qsizetype part() const { return m_part; } ///< index among the parts

private:
    qsizetype m_part;
};

/// A multipart body (RFC 2046) that is read from its files while it is sent.
///
/// Its length is known beforehand; one file is open at a time. Thread: the one that performs the request.
class MultipartBody final : public HttpBodySource
{
public:
    explicit MultipartBody(QList<BodyPart> parts);

    /// A fresh random text; no file holds it.
    const QByteArray &boundary() const { return m_boundary; }

    qint64 size() const override { return m_size; }

    /// \throws FileChanged  when a file isn't what it was or can't be read.
    qint64 read(char *buffer, qint64 capacity) override;
    void seek(qint64 offset) override;

private:
    QByteArray head(qsizetype part) const;
    qint64 readPart(qsizetype part, qint64 offset, char *buffer, qint64 capacity);
    qint64 readFile(qsizetype part, qint64 offset, char *buffer, qint64 capacity);

    QList<BodyPart> m_parts;
    QByteArray m_boundary;
    QByteArray m_tail;
    QList<qint64> m_ends; // offset behind each part, its head included
    qint64 m_size = 0;
    qint64 m_position = 0;
    qsizetype m_openPart = -1;
    std::optional<ReadableFile> m_file; // that of m_openPart
};

} // namespace gateway::cloud_client
