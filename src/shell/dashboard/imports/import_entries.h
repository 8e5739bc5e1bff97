#pragma once

#include "shell/dashboard/imports/import_disk.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QCollator>
#include <QtCore/QSortFilterProxyModel>

namespace gateway::shell {

class Theme;

/// The entries of one folder, as the import panel's list shows them.
///
/// Owner: the panel. Thread: main.
class ImportEntries : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        nameColumn,
        sizeColumn,
        dateColumn,
        columnTotal
    };

    /// \param theme  outlives this.
    explicit ImportEntries(const Theme &theme, QObject *parent = nullptr);

    void clear();
    void add(const QList<ImportEntry> &entries);
    const ImportEntry &at(int row) const { return m_entries.at(row); }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const Theme &m_theme;
    QList<ImportEntry> m_entries;
};

/// The same, sorted: folders before files, names in the order of the browsers' tables.
///
/// Owner: the panel. Thread: main.
class SortedImportEntries : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    /// \param entries  outlives this.
    explicit SortedImportEntries(ImportEntries &entries, QObject *parent = nullptr);

    const ImportEntry &entry(const QModelIndex &index) const
    {
        return m_entries.at(mapToSource(index).row());
    }

protected:
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;

private:
    const ImportEntries &m_entries;
    const QCollator m_names;
};

} // namespace gateway::shell
