#include "dicom_helper/scp/incoming_instance.h"

#include <cerrno>
#include <utility>

namespace gateway::dicom_helper::scp {

namespace {

// Asking for the free space costs a microsecond; once in so many bytes keeps the reserve whole enough.
constexpr std::int64_t kBytesBetweenChecks = 16 * 1024 * 1024;

} // namespace

IncomingInstance::IncomingInstance(InboxDisk &disk,
                                   std::string name,
                                   std::string_view header,
                                   std::int64_t reserve)
    : m_disk(disk), m_name(name + ".part"), m_finalName(name + ".dcm"), m_reserve(reserve)
{
    if (!leavesReserve()) {
        return;
    }
    const int file = m_disk.create(m_name);
    if (file < 0) {
        m_trouble = file;
        return;
    }
    m_file = file;
    write(header);
}

IncomingInstance::~IncomingInstance()
{
    if (m_file) {
        fail(-ECANCELED);
    }
}

void IncomingInstance::append(std::string_view bytes)
{
    m_dataSetBytes += static_cast<std::int64_t>(bytes.size());
    if (m_file && m_written - m_checkedAt >= kBytesBetweenChecks && !leavesReserve()) {
        fail(m_trouble);
    }
    write(bytes);
}

/// Whether there is more free space than the reserve; notes the trouble when there isn't.
bool IncomingInstance::leavesReserve()
{
    m_checkedAt = m_written;
    const std::int64_t available = m_disk.availableBytes();
    if (available < 0) {
        m_trouble = static_cast<int>(available);
    } else if (available < m_reserve) {
        m_trouble = -ENOSPC;
    }
    return m_trouble == 0;
}

void IncomingInstance::write(std::string_view bytes)
{
    while (m_file && !bytes.empty()) {
        const ssize_t written = m_disk.write(*m_file, bytes);
        if (written <= 0) {
            fail(written == 0 ? -EIO : static_cast<int>(written));
            return;
        }
        m_written += written;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void IncomingInstance::fail(int trouble)
{
    m_trouble = trouble;
    m_disk.close(*std::exchange(m_file, std::nullopt));
    m_disk.removeUnfinished(m_name);
}

bool IncomingInstance::finish()
{
    if (!m_file) {
        return false;
    }
    m_trouble = settle();
    return m_trouble == 0;
}

/// The steps to durability; each failure leaves nothing behind. \return 0 or the negated errno.
int IncomingInstance::settle()
{
    const std::int64_t size = m_disk.size(*m_file);
    int result = size == m_written ? 0 : -EIO;
    result = size < 0 ? static_cast<int>(size) : result;
    if (result == 0) {
        m_disk.stamp(*m_file); // before the sync, which makes it durable as well
        result = m_disk.sync(*m_file);
    }
    if (result == 0) {
        result = m_disk.publish(m_name, m_finalName);
    }
    if (result < 0) {
        fail(result);
        return result;
    }
    // Closed only now, since the lock keeps a sweep away until the file has its final name.
    result = m_disk.close(*std::exchange(m_file, std::nullopt));
    if (result == 0) {
        result = m_disk.syncInbox();
    }
    if (result < 0) {
        m_disk.removePublished(m_finalName);
    }
    return result;
}

} // namespace gateway::dicom_helper::scp
