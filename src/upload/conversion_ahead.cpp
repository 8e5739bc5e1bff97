#include "upload/conversion_ahead.h"

#include <QtCore/QFile>

#include <memory>

namespace gateway::upload {

using platform::SendableFile;

ConversionAhead::ConversionAhead(platform::DicomConverting &converter, bool converts, int atOnce)
    : m_converter(converter), m_converts(converts), m_pool(QStringLiteral("uploadAhead"), atOnce)
{
}

ConversionAhead::~ConversionAhead()
{
    m_isOver = true;
    const platform::MutexLock lock(m_mutex);
    for (auto &[path, made] : m_made) {
        const SendableFile file = made.get();
        if (file.fate == SendableFile::Fate::ready && file.path != path) {
            QFile::remove(file.path);
        }
    }
}

void ConversionAhead::expect(const QString &path)
{
    const platform::MutexLock lock(m_mutex);
    expectLocked(path);
}

void ConversionAhead::expectLocked(const QString &path)
{
    if (m_made.contains(path)) {
        return;
    }
    // Shared, for the pool's function is to be copyable.
    const auto work =
        std::make_shared<std::packaged_task<SendableFile()>>([this, path] { return make(path); });
    m_made.emplace(path, work->get_future());
    m_pool.run([work] { (*work)(); });
}

SendableFile ConversionAhead::convertToJPEGLossless(const QString &path)
{
    return m_converts ? take(path) : m_converter.convertToJPEGLossless(path);
}

SendableFile ConversionAhead::makeSendable(const QString &path)
{
    return m_converts ? m_converter.makeSendable(path) : take(path);
}

QString ConversionAhead::temporaryPath()
{
    return m_converter.temporaryPath();
}

platform::Likeness
ConversionAhead::compare(const QString &fetched, const QString &sent, const QString &stored)
{
    return m_converter.compare(fetched, sent, stored);
}

SendableFile ConversionAhead::make(const QString &path) const
{
    if (m_isOver) {
        return {}; // nobody will ask for it
    }
    return m_converts ? m_converter.convertToJPEGLossless(path) : m_converter.makeSendable(path);
}

SendableFile ConversionAhead::take(const QString &path)
{
    std::future<SendableFile> made;
    {
        const platform::MutexLock lock(m_mutex);
        expectLocked(path);
        made = std::move(m_made.extract(path).mapped());
    }
    return made.get();
}

} // namespace gateway::upload
