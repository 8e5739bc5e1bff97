#include "shell/browser/browser_table_model.h"

#include "shell/controls/tool_tip.h"

#include "browser/browser_words.h"
#include "browser/local_study_series_row.h"
#include "browser/quorin_cloud_qido_series_row.h"
#include "browser/quorin_cloud_qido_study_row.h"
#include "browser/quorin_gateway_local_study_row.h"

#include <QtCore/QLocale>

#include <algorithm>

namespace gateway::shell {

using browser::TableKind;

bool isNumberColumn(TableKind kind, int column)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return column == browser::QuorinCloudQidoStudyRow::imagesColumn;
    case TableKind::cloudSeries:
        return column == browser::QuorinCloudQidoSeriesRow::imagesColumn ||
               column == browser::QuorinCloudQidoSeriesRow::numberColumn;
    case TableKind::localStudies:
        return column == browser::QuorinGatewayLocalStudyRow::imagesColumn;
    case TableKind::localSeries:
        return column == browser::LocalStudySeriesRow::imagesColumn ||
               column == browser::LocalStudySeriesRow::numberColumn;
    }
    return false;
}

bool isUidColumn(TableKind kind, int column)
{
    return (kind == TableKind::cloudStudies && column == browser::QuorinCloudQidoStudyRow::studyUIDColumn) ||
           (kind == TableKind::cloudSeries && column == browser::QuorinCloudQidoSeriesRow::seriesUIDColumn) ||
           (kind == TableKind::localSeries && column == browser::LocalStudySeriesRow::seriesUIDColumn);
}

std::optional<int> stateColumn(TableKind kind)
{
    switch (kind) {
    case TableKind::localStudies:
        return browser::QuorinGatewayLocalStudyRow::syncStateColumn;
    case TableKind::localSeries:
        return browser::LocalStudySeriesRow::syncStateColumn;
    case TableKind::cloudStudies:
    case TableKind::cloudSeries:
        break;
    }
    return std::nullopt;
}

BrowserTableModel::BrowserTableModel(browser::BrowserTable &table, QObject *parent)
    : QAbstractTableModel(parent), m_table(table), m_leading(browser::holdsSeries(table.kind()) ? 0 : 1),
      m_rows(table.rows()), m_shown(table.shown())
{
    while (!browser::columnTitle(table.kind(), m_columns).isEmpty()) {
        ++m_columns;
    }
    connect(&table, &browser::BrowserTable::rowsChanged, this, &BrowserTableModel::take);
}

bool BrowserTableModel::hasSameRows() const
{
    const browser::RowOrder &now = m_table.shown();
    return std::equal(
        now.begin(), now.end(), m_shown.begin(), m_shown.end(), [this](quint32 position, quint32 before) {
            return m_table.rows()->id(position) == m_rows->id(before);
        });
}

void BrowserTableModel::take()
{
    const bool areSame = hasSameRows();
    if (!areSame) {
        beginResetModel();
    }
    m_rows = m_table.rows();
    m_shown = m_table.shown();
    if (!areSame) {
        endResetModel();
    } else if (!m_shown.empty()) {
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
    }
}

QString BrowserTableModel::idAt(int row) const
{
    return m_rows->id(m_shown[static_cast<std::size_t>(row)]);
}

std::optional<int> BrowserTableModel::rowOf(const QString &id) const
{
    const std::optional<quint32> position = m_rows->position(id);
    const auto found = position ? std::find(m_shown.begin(), m_shown.end(), *position) : m_shown.end();
    return found != m_shown.end() ? std::optional(static_cast<int>(found - m_shown.begin())) : std::nullopt;
}

QString BrowserTableModel::cellText(const QModelIndex &index) const
{
    return isDetails(index.column())
               ? QString()
               : m_rows->text(m_shown[static_cast<std::size_t>(index.row())], index.column() - m_leading);
}

int BrowserTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
}

int BrowserTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_leading + m_columns;
}

bool BrowserTableModel::isNumber(int column) const
{
    return isNumberColumn(m_table.kind(), column - m_leading);
}

QVariant BrowserTableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    if (isDetails(index.column())) {
        return role == Qt::AccessibleTextRole || role == Qt::ToolTipRole ? tr("Show the series of this study")
                                                                         : QVariant();
    }
    if (role == Qt::DisplayRole) {
        const QString text = cellText(index);
        bool isWhole = false;
        const qlonglong number = isNumber(index.column()) ? text.toLongLong(&isWhole) : 0;
        return isWhole ? QLocale().toString(number) : text;
    }
    if (role == Qt::TextAlignmentRole && isNumber(index.column())) {
        return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
    }
    if (role == Qt::ToolTipRole) {
        const QString text = cellText(index);
        const QString further =
            m_rows->furtherText(m_shown[static_cast<std::size_t>(index.row())], index.column() - m_leading);
        return toolTipOf(further.isEmpty() ? text : text + u'\n' + further);
    }
    return {};
}

QVariant BrowserTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        return isDetails(section) ? tr("Details") : browser::columnTitle(m_table.kind(), section - m_leading);
    }
    if (role == Qt::TextAlignmentRole && isNumber(section)) {
        return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
    }
    return {};
}

void BrowserTableModel::sort(int column, Qt::SortOrder order)
{
    if (!isDetails(column)) {
        m_table.setSortOrder({column - m_leading, order == Qt::AscendingOrder});
    }
}

} // namespace gateway::shell
