#pragma once

#include "platform/concurrency/worker_pool.h"
#include "platform/dicom/dicom_converting.h"

#include <QtCore/QString>

#include <future>
#include <map>

namespace gateway::upload {

/// Makes files ready to go up while others are on their way: what is expected is made at once, one file at a
/// time, and waits here until it is asked for.
///
/// Owner: a run that sends one file at a time. Thread: the run's. What was made and never asked for is
/// removed at the end, when the last file under way is made.
class ConversionAhead final : public platform::DicomConverting
{
public:
    /// \param converter  does the work; outlives this.
    /// \param converts   whether files will be asked for in their converted form.
    ConversionAhead(platform::DicomConverting &converter, bool converts);
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

    platform::DicomConverting &m_converter;
    const bool m_converts;
    std::map<QString, std::future<platform::SendableFile>> m_made; // by the stored file's path
    platform::WorkerPool m_pool; // last: its end waits for what is being made
};

} // namespace gateway::upload
