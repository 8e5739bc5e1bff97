#pragma once

#include "browser/browser_table.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace gateway::browser {

/// The shown rows of a table as CSV (RFC 4180) in UTF-8 with a byte order mark, under the titles of the
/// columns. Cells without anything are empty. A cell that a spreadsheet would take for a formula gets an
/// apostrophe before it. Thread: any, once it is made.
class CsvExport
{
public:
    /// Takes what the table shows now.
    explicit CsvExport(const BrowserTable &table);

    QByteArray bytes() const;

private:
    TableKind m_kind;
    std::shared_ptr<const TableRows> m_rows;
    RowOrder m_shown;
};

/// A cell of a CSV file, in quotes.
QString csvCell(const QString &text);

} // namespace gateway::browser
