#pragma once

#include <QtCore/QString>

#include <cstdint>
#include <string_view>

namespace gateway::cloud {

/// A file that is being received: it disappears unless it was put into its place.
///
/// Owner: the request that receives it. Thread: one at a time. Functions throw std::system_error.
class PartFile
{
public:
    /// Makes a new file of a random name in `folder`.
    explicit PartFile(const QString &folder);
    ~PartFile();
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    void write(std::string_view bytes);

    std::uint64_t size() const { return m_size; }

    int descriptor() const { return m_descriptor; }

    /// Moves the file to `path`, on the same volume, and has the system begin to write it out. It is durable
    /// once syncFile() of it and syncFolder() of its folder are done.
    void moveTo(const QString &path);

private:
    QString m_path;
    int m_descriptor;
    std::uint64_t m_size = 0;
    bool m_moved = false;
};

/// Makes a file's content durable. Thread: any. \throws std::system_error
void syncFile(const QString &path);

/// Makes the names in a folder durable. Thread: any. \throws std::system_error
void syncFolder(const QString &folder);

} // namespace gateway::cloud
