#include "cloud/store/mapped_file.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace gateway::cloud {

MappedFile::MappedFile(const QString &path)
{
    const int descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "open " + path.toStdString());
    }
    try {
        map(descriptor);
    } catch (...) {
        close(descriptor);
        throw;
    }
    close(descriptor);
}

MappedFile::MappedFile(int descriptor)
{
    map(descriptor);
}

MappedFile::~MappedFile()
{
    if (!m_bytes.empty()) {
        munmap(const_cast<std::byte *>(m_bytes.data()), m_bytes.size());
    }
}

void MappedFile::map(int descriptor)
{
    struct stat figures{};
    if (fstat(descriptor, &figures) != 0) {
        throw std::system_error(errno, std::generic_category(), "stat");
    }
    const auto size = static_cast<std::size_t>(figures.st_size);
    if (size == 0) {
        return;
    }
    void *address = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "mmap");
    }
    m_bytes = {static_cast<const std::byte *>(address), size};
}

} // namespace gateway::cloud
