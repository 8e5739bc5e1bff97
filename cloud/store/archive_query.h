#pragma once

#include "cloud/dicom/attributes.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace gateway::cloud {

/// A question to the index (PS3.18, section 10.6).
///
/// Thread: any; a value.
struct ArchiveQuery
{
    Level level = Level::study;
    std::vector<std::pair<const Attribute *, QString>> matches; ///< with wildcards, ranges and lists
    std::vector<const Attribute *> columns;                     ///< what to answer with
    std::int64_t limit = -1;                                    ///< negative: all
    std::int64_t offset = 0;
};

/// A statement and the texts to bind to its parameters, in order; two more are for limit and offset.
///
/// Thread: any; a value.
struct QuerySql
{
    std::string sql;
    QStringList bindings;
};

/// Puts a question into SQL: one column of the result for each of the query's. Rows come in the order in
/// which they were first stored, so that pages neither skip nor repeat rows while new ones arrive. Thread:
/// any.
QuerySql sqlFor(const ArchiveQuery &query);

} // namespace gateway::cloud
