#include "cloud_client/token_file.h"

#include "cloud_client/archive_sign_in.h"
#include "cloud_client/multipart_body.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

#include <array>
#include <utility>

namespace gateway::cloud_client {

namespace {

[[noreturn]] void throwUnusable(const QString &sentence)
{
    throw AFError(sentence, std::nullopt, 0, NoAnswer::signInUnavailable);
}

} // namespace

/// A pipe or a device in the file's place is refused: reading one might never end.
std::optional<QByteArray> TokenFile::contentOf(const QString &path)
{
    std::array<char, 16 * 1024> bytes{};
    const std::optional<ReadableFile> file = ReadableFile::open(path);
    const qint64 size = file ? file->read(0, bytes.data(), bytes.size()) : -1;
    return size < 0 ? std::nullopt : std::optional(QByteArray(bytes.data(), size));
}

TokenFile::TokenFile(QString path, platform::Clock &clock, Read read)
    : m_path(std::move(path)), m_clock(clock), m_read(std::move(read))
{
}

std::shared_ptr<TokenFile::Reading> TokenFile::reading()
{
    const platform::MutexLock lock(m_mutex);
    if (!m_reading || m_reading->over.stop_requested()) {
        m_reading = platform::askAside("token-file", [read = m_read, path = m_path] { return read(path); });
    }
    return m_reading;
}

QByteArray TokenFile::token()
{
    const std::shared_ptr<Reading> asked = reading();
    m_clock.sleep(kPatience, asked->over.get_token());
    const platform::MutexLock lock(asked->mutex);
    if (!asked->answer) {
        throwUnusable(
            QCoreApplication::translate("CloudClient",
                                        "The file of the archive's token, %1, can't be read: its disk or "
                                        "network share doesn't answer.")
                .arg(m_path));
    }
    const std::optional<QByteArray> &content = *asked->answer;
    if (!content) {
        throwUnusable(
            QCoreApplication::translate("CloudClient",
                                        "The file of the archive's token, %1, isn't there, can't be read, or "
                                        "is no ordinary file.")
                .arg(m_path));
    }
    const QByteArray token = content->trimmed();
    if (!canBeToken(QString::fromUtf8(token))) {
        throwUnusable(QCoreApplication::translate("CloudClient", "The file %1 holds no token of one word.")
                          .arg(m_path));
    }
    return token;
}

} // namespace gateway::cloud_client
