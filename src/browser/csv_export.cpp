#include "browser/csv_export.h"

#include "browser/browser_words.h"
#include "browser/row_texts.h"

namespace gateway::browser {

namespace {

/// The full-width forms, too: some spreadsheets read them as the others.
bool beginsFormula(const QString &text)
{
    return !text.isEmpty() && QStringView(u"=+-@\t\r\uFF1D\uFF0B\uFF0D\uFF20").contains(text.front());
}

bool isNumber(const QString &text)
{
    bool isWhole = false;
    text.toLongLong(&isWhole);
    return isWhole;
}

} // namespace

QString csvCell(const QString &text)
{
    if (text == kMissing) {
        return QStringLiteral("\"\"");
    }
    QString cell = text;
    cell.replace(u'"', QStringLiteral("\"\""));
    if (beginsFormula(text) && !isNumber(text)) {
        cell.prepend(u'\'');
    }
    return u'"' + cell + u'"';
}

CsvExport::CsvExport(const BrowserTable &table)
    : m_kind(table.kind()), m_rows(table.rows()), m_shown(table.shown())
{
}

QByteArray CsvExport::bytes() const
{
    QStringList titles;
    for (int column = 0; !columnTitle(m_kind, column).isEmpty(); ++column) {
        titles.append(csvCell(columnTitle(m_kind, column)));
    }
    QByteArray csv = "\xEF\xBB\xBF" + titles.join(u',').toUtf8() + "\r\n";
    for (const quint32 position : m_shown) {
        QStringList cells;
        for (int column = 0; column < titles.size(); ++column) {
            cells.append(csvCell(m_rows->text(position, column)));
        }
        csv += cells.join(u',').toUtf8() + "\r\n";
    }
    return csv;
}

} // namespace gateway::browser
