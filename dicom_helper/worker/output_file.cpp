#include "dicom_helper/worker/output_file.h"

#include "dicom_helper/worker/encapsulated_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::dicom_helper::worker {

OutputFile::OutputFile(std::string path)
    : m_path(std::move(path)),
      m_descriptor(
          ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR))
{
    if (!m_descriptor.isOpen()) {
        throw WriteError("the output can't be created");
    }
}

OutputFile::~OutputFile()
{
    if (!m_kept) {
        ::unlink(m_path.c_str());
    }
}

std::uint64_t OutputFile::size() const
{
    struct stat about = {};
    if (::fstat(m_descriptor.get(), &about) != 0) {
        throw WriteError("the output can't be measured");
    }
    return static_cast<std::uint64_t>(about.st_size);
}

} // namespace gateway::dicom_helper::worker
