#pragma once

#include "platform/dicom/dicom_parsing.h"

#include <QtCore/QString>

#include <atomic>

namespace gateway::index::testing {

/// Writes a file that stands for a DICOM object: a check sum and the elements.
void writeSyntheticFile(const QString &path, const platform::DicomElements &elements);

/// A parser for such files alone: one that is cut short or altered isn't readable. Thread: any.
class SyntheticParser final : public platform::DicomParsing
{
public:
    std::optional<platform::DicomElements> parse(const QString &path) override;

    /// From now on the parser itself is broken and throws.
    void breakDown() { m_broken = true; }

private:
    std::atomic<bool> m_broken = false;
};

} // namespace gateway::index::testing
