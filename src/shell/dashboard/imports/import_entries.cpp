#include "shell/dashboard/imports/import_entries.h"

#include "browser/text_order.h"
#include "shell/theme/theme.h"

#include <QtCore/QLocale>

namespace gateway::shell {

ImportEntries::ImportEntries(const Theme &theme, QObject *parent)
    : QAbstractTableModel(parent), m_theme(theme)
{
}

void ImportEntries::clear()
{
    beginResetModel();
    m_entries.clear();
    endResetModel();
}

void ImportEntries::add(const QList<ImportEntry> &entries)
{
    if (!entries.isEmpty()) {
        const int first = rowCount();
        beginInsertRows({}, first, first + static_cast<int>(entries.size()) - 1);
        m_entries += entries;
        endInsertRows();
    }
}

int ImportEntries::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
}

int ImportEntries::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columnTotal;
}

QVariant ImportEntries::data(const QModelIndex &index, int role) const
{
    const ImportEntry &entry = at(index.row());
    if (role == Qt::DecorationRole && index.column() == nameColumn) {
        return entry.isFolder ? m_theme.icon(u"folder.fill", Color::blue)
                              : m_theme.icon(u"photo.stack", Color::muted);
    }
    if (role == Qt::TextAlignmentRole && index.column() == sizeColumn) {
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (index.column()) {
    case nameColumn:
        return entry.name;
    case sizeColumn:
        return entry.isFolder ? QString() : QLocale().formattedDataSize(entry.size);
    case dateColumn:
        return entry.isFolder ? QString() : QLocale().toString(entry.modified, QLocale::ShortFormat);
    default: // a column's number is the view's
        return {};
    }
}

QVariant ImportEntries::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
    case nameColumn:
        return tr("Name");
    case sizeColumn:
        return tr("Size");
    default:
        return tr("Date Modified");
    }
}

SortedImportEntries::SortedImportEntries(ImportEntries &entries, QObject *parent)
    : QSortFilterProxyModel(parent), m_entries(entries), m_names(browser::textOrder())
{
    setSourceModel(&entries);
}

bool SortedImportEntries::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    const ImportEntry &one = m_entries.at(left.row());
    const ImportEntry &other = m_entries.at(right.row());
    if (one.isFolder != other.isFolder) {
        return one.isFolder == (sortOrder() == Qt::AscendingOrder); // on top whatever the order
    }
    if (left.column() == ImportEntries::sizeColumn && one.size != other.size) {
        return one.size < other.size;
    }
    if (left.column() == ImportEntries::dateColumn && one.modified != other.modified) {
        return one.modified < other.modified;
    }
    return m_names.compare(one.name, other.name) < 0;
}

} // namespace gateway::shell
