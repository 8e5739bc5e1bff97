#pragma once

#include "index/db_service.h"

#include <functional>
#include <utility>

namespace gateway::app {

/// What a person brings in, in one order with what the listener takes: it learns of each import.
///
/// Owner: Receiving. Thread: any.
class ManualImports final : public index::DBServiceProtocol
{
public:
    /// \param keepOrder  called after each import, on its thread.
    ManualImports(index::DicomDB &index, std::function<void()> keepOrder)
        : m_imports(index, index::ImportSource::foreign), m_keepOrder(std::move(keepOrder))
    {
    }

    index::ImportedFileSummary importFile(const QUrl &url) override
    {
        index::ImportedFileSummary summary = m_imports.importFile(url);
        m_keepOrder();
        return summary;
    }

private:
    index::DBService m_imports;
    const std::function<void()> m_keepOrder;
};

} // namespace gateway::app
