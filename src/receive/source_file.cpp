#include "receive/source_file.h"

#include "platform/descriptors/descriptor.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::receive {

namespace {

/// A regular file that is open for reading, if it is one.
class Source
{
public:
    explicit Source(const QByteArray &path)
    {
        struct stat status{};
        if (::stat(path.constData(), &status) != 0) {
            return;
        }
        m_trouble = SourceOutcome::special; // to open one of these may wait, or do something
        if (!S_ISREG(status.st_mode)) {
            return;
        }
        m_descriptor =
            platform::Descriptor(::open(path.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        m_trouble = m_descriptor.isOpen() ? SourceOutcome::done : SourceOutcome::unreadable;
        m_size = status.st_size;
    }

    /// `done` when it can be read.
    SourceOutcome trouble() const { return m_trouble; }

    /// Hands all bytes over, piece by piece, until `take` returns false.
    SourceOutcome read(const std::stop_token &stop,
                       const std::function<bool(const char *, qint64)> &take) const
    {
        constexpr qint64 kSmallestPiece = 4096;
        constexpr qint64 kLargestPiece = 1 << 20;
        std::vector<char> piece(static_cast<std::size_t>(std::clamp(m_size, kSmallestPiece, kLargestPiece)));
        for (;;) {
            if (stop.stop_requested()) {
                return SourceOutcome::stopped;
            }
            const ssize_t count = ::read(m_descriptor.get(), piece.data(), piece.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                return SourceOutcome::unreadable;
            }
            if (count == 0) {
                return SourceOutcome::done;
            }
            if (!take(piece.data(), count)) {
                return SourceOutcome::noStorage;
            }
        }
    }

private:
    platform::Descriptor m_descriptor;
    SourceOutcome m_trouble = SourceOutcome::unreadable;
    qint64 m_size = 0;
};

} // namespace

SourceOutcome
copySource(const QByteArray &path, const QString &destination, const std::stop_token &stop, Pulse &pulse)
{
    const Source source(path);
    if (source.trouble() != SourceOutcome::done) {
        return source.trouble();
    }
    QFile copy(destination);
    if (!copy.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
        return SourceOutcome::noStorage;
    }
    return source.read(stop, [&](const char *bytes, qint64 count) {
        ++pulse;
        return copy.write(bytes, count) == count;
    });
}

} // namespace gateway::receive
