#include "dicom_helper/scp/incoming_instance.h"

#include <cerrno>
#include <utility>

namespace gateway::dicom_helper::scp {

IncomingInstance::IncomingInstance(InboxDisk &disk,
                                   std::string name,
                                   std::string_view header,
                                   SpaceClaim claim)
    : m_disk(disk), m_name(name + ".part"), m_finalName(name + ".dcm"), m_claim(claim)
{
    m_trouble = m_claim.cover(static_cast<std::int64_t>(header.size()), m_disk);
    if (m_trouble != 0) {
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
    m_claim.giveBack();
}

void IncomingInstance::append(std::string_view bytes)
{
    const auto count = static_cast<std::int64_t>(bytes.size());
    m_dataSetBytes += count;
    if (!m_file) {
        return;
    }
    if (const int trouble = m_claim.cover(count, m_disk); trouble != 0) {
        fail(trouble);
        return;
    }
    write(bytes);
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
        m_claim.written(written);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void IncomingInstance::fail(int trouble)
{
    m_trouble = trouble;
    m_disk.close(*std::exchange(m_file, std::nullopt));
    m_disk.removeUnfinished(m_name);
    m_claim.giveBack();
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
        result = m_disk.stamp(*m_file); // before the sync, which makes it durable as well
    }
    if (result == 0) {
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
