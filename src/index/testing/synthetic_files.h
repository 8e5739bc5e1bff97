#pragma once

#include "platform/dicom/dicom_parsing.h"

#include <QtCore/QString>

#include <atomic>
#include <functional>

namespace gateway::index::testing {

/// Writes a file that stands for a DICOM object: a check sum and the elements.
void writeSyntheticFile(const QString &path, const platform::DicomElements &elements);

/// A parser for such files alone: one that is cut short or altered isn't readable. An element "header" counts
/// as no part of the dataset. Thread: any.
class SyntheticParser final : public platform::DicomParsing
{
public:
    platform::ParsedFile parse(const QString &path) override;
    platform::ParsedFile parseWithVersion(const QString &path) override;
    std::int64_t versionOf(const QString &path) override;

    /// True when the file at `path` is a whole one.
    bool reads(const QString &path) { return parse(path).fate == platform::ParsedFile::Fate::parsed; }

    /// From now on no file ends otherwise.
    void breakDown(platform::ParsedFile::Fate fate = platform::ParsedFile::Fate::unavailable)
    {
        m_fate = fate;
    }

    /// Runs `then` in every parse from now on, before the file is looked at. Call it before threads parse.
    void onParse(std::function<void()> then) { m_onParse = std::move(then); }

private:
    platform::ParsedFile read(const QString &path) const;

    std::function<void()> m_onParse = [] {};
    std::atomic<platform::ParsedFile::Fate> m_fate = platform::ParsedFile::Fate::parsed;
};

} // namespace gateway::index::testing
