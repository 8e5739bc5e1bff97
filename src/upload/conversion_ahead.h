#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/dicom/dicom_converting.h"

#include <QtCore/QString>

#include <atomic>
#include <future>
#include <map>

namespace gateway::upload {

/// Makes files ready to go up while others are on their way: what is expected is made at once, some files at
/// a time, and waits here until it is asked for.
///
/// Owner: UploadRun. Thread: any. What was made and never asked for is removed at the end, when those under
/// way are made; nothing more is begun by then.
class ConversionAhead final : public platform::DicomConverting
{
public:
    /// \param converter  does the work; outlives this.
    /// \param converts   whether files will be asked for in their converted form.
    /// \param atOnce     how many files are made at a time.
    ConversionAhead(platform::DicomConverting &converter, bool converts, int atOnce);
    ~ConversionAhead() override;

    ConversionAhead(const ConversionAhead &) = delete;
    ConversionAhead &operator=(const ConversionAhead &) = delete;

    /// Begins to make the file at `path` ready, unless that has begun already.
    void expect(const QString &path);

    platform::SendableFile convertToJPEGLossless(const QString &path) override;
    platform::SendableFile makeSendable(const QString &path) override;
    QString temporaryPath() override;
    platform::Likeness compare(const QString &fetched, const QString &sent, const QString &stored) override;

private:
    platform::SendableFile make(const QString &path) const;
    platform::SendableFile take(const QString &path);
    void expectLocked(const QString &path) QUORIN_REQUIRES(m_mutex);

    platform::DicomConverting &m_converter;
    const bool m_converts;
    std::atomic<bool> m_isOver = false;
    platform::Mutex m_mutex;
    std::map<QString, std::future<platform::SendableFile>>
        m_made QUORIN_GUARDED_BY(m_mutex); // by the stored file's path
    platform::WorkerPool m_pool;           // last: its end waits for what is being made
};

} // namespace gateway::upload
