#pragma once

#include "cloud/dicom/element_reader.h"

#include <QtCore/QString>

namespace gateway::cloud {

/// A file's bytes, mapped for reading; for files that nobody else shortens.
///
/// Owner: a function's scope. Thread: any.
class MappedFile
{
public:
    /// \throws std::system_error
    explicit MappedFile(const QString &path);

    /// Of an open file; the descriptor stays the caller's. \throws std::system_error
    explicit MappedFile(int descriptor);

    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    Bytes bytes() const { return m_bytes; }

private:
    void map(int descriptor);

    Bytes m_bytes;
};

} // namespace gateway::cloud
