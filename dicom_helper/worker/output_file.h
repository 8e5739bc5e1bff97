#pragma once

#include "platform/descriptors/descriptor.h"

#include <cstdint>
#include <string>

namespace gateway::dicom_helper::worker {

/// A new file that goes again unless it is kept. Thread: the worker's only one.
class OutputFile
{
public:
    /// Creates the file, readable by its owner alone. \throws WriteError also when something is there.
    explicit OutputFile(std::string path);
    ~OutputFile();

    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    int descriptor() const { return m_descriptor.get(); }

    /// Its present size in bytes. \throws WriteError
    std::uint64_t size() const;

    void keep() { m_kept = true; }

private:
    std::string m_path;
    platform::Descriptor m_descriptor;
    bool m_kept = false;
};

} // namespace gateway::dicom_helper::worker
