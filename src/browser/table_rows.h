#pragma once

#include "browser/search_texts.h"
#include "browser/text_order.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

namespace gateway::browser {

/// The column that rows are sorted by.
struct SortOrder
{
    int column = 0;
    bool ascending = true;

    bool operator==(const SortOrder &) const = default;
};

/// Positions of rows, in the order in which they are shown.
using RowOrder = std::vector<quint32>;

/// The rows of a table, whatever they are of, as one load found them. Positions count from 0 in that order.
///
/// Owner: whoever looks at them, shared. Thread: any; never changed once it is made.
class TableRows
{
public:
    virtual ~TableRows() = default;

    virtual qsizetype count() const = 0;

    /// Names a row for as long as what it stands for is there.
    virtual QString id(qsizetype position) const = 0;

    /// Where the row with this id is; nothing when there is none.
    virtual std::optional<quint32> position(const QString &id) const = 0;

    /// What a deletion of the row names; empty where it can't be named.
    virtual QString target(qsizetype position) const = 0;

    /// A cell as people read it, numbers in plain decimal; "--" where there is nothing.
    virtual QString text(qsizetype position, int column) const = 0;

    /// What a cell can't show but knows; mostly empty.
    virtual QString furtherText(qsizetype position, int column) const = 0;

    /// Whether the row's search text holds `needle`, as `needleOf` gives it.
    virtual bool matches(qsizetype position, const QByteArray &needle) const = 0;

    /// Whether images of the row failed to upload, and whether all are in the cloud, as far as is known.
    virtual bool hasFailures(qsizetype position) const = 0;
    virtual bool isInCloud(qsizetype position) const = 0;

    /// All positions, sorted; rows that are equal there keep the order of the load.
    virtual RowOrder sorted(SortOrder order) const = 0;
};

/// Rows of one type. A Row has the field `id` and the functions `target()`, `text(column)`,
/// `furtherText(column)`, `hasFailures()`, `isInCloud()` and `addTo(searchTexts)`. Columns for which
/// `isText(column)` holds are sorted by their texts, in the order of `textOrder`, others by
/// `isBefore(left, right, column)`.
template <typename Row>
class RowsOf final : public TableRows
{
public:
    explicit RowsOf(std::vector<Row> rows) : m_rows(std::move(rows))
    {
        m_positions.reserve(count());
        for (std::size_t position = 0; position < m_rows.size(); ++position) {
            m_positions.insert(m_rows[position].id, static_cast<quint32>(position));
            m_rows[position].addTo(m_searchTexts);
        }
    }

    const std::vector<Row> &rows() const { return m_rows; }

    qsizetype count() const override { return static_cast<qsizetype>(m_rows.size()); }
    QString id(qsizetype position) const override { return at(position).id; }
    std::optional<quint32> position(const QString &id) const override
    {
        const auto found = m_positions.constFind(id);
        return found != m_positions.cend() ? std::optional(*found) : std::nullopt;
    }

    QString target(qsizetype position) const override { return at(position).target(); }
    QString text(qsizetype position, int column) const override { return at(position).text(column); }

    QString furtherText(qsizetype position, int column) const override
    {
        return at(position).furtherText(column);
    }

    bool matches(qsizetype position, const QByteArray &needle) const override
    {
        return m_searchTexts.contains(static_cast<std::size_t>(position), needle);
    }

    bool hasFailures(qsizetype position) const override { return at(position).hasFailures(); }
    bool isInCloud(qsizetype position) const override { return at(position).isInCloud(); }

    RowOrder sorted(SortOrder order) const override
    {
        return Row::isText(order.column) ? sortedByText(order) : sortedByKey(order);
    }

private:
    /// Each text is looked up in the language's order once, not at each comparison.
    RowOrder sortedByText(SortOrder order) const
    {
        const QCollator language = textOrder();
        std::vector<std::pair<QCollatorSortKey, quint32>> keys;
        keys.reserve(m_rows.size());
        for (std::size_t position = 0; position < m_rows.size(); ++position) {
            keys.emplace_back(language.sortKey(m_rows[position].text(order.column)),
                              static_cast<quint32>(position));
        }
        std::sort(keys.begin(), keys.end(), [&](const auto &left, const auto &right) {
            const int compared = left.first.compare(right.first);
            return compared != 0 ? (compared < 0) == order.ascending : left.second < right.second;
        });
        RowOrder positions;
        positions.reserve(keys.size());
        for (const auto &[key, position] : keys) {
            positions.push_back(position);
        }
        return positions;
    }

    RowOrder sortedByKey(SortOrder order) const
    {
        RowOrder positions(m_rows.size());
        std::iota(positions.begin(), positions.end(), 0U);
        const auto isBefore = [&](quint32 left, quint32 right) {
            if (Row::isBefore(m_rows[left], m_rows[right], order.column)) {
                return order.ascending;
            }
            if (Row::isBefore(m_rows[right], m_rows[left], order.column)) {
                return !order.ascending;
            }
            return left < right;
        };
        if (!std::is_sorted(positions.begin(), positions.end(), isBefore)) { // as loads mostly come
            std::sort(positions.begin(), positions.end(), isBefore);
        }
        return positions;
    }

    const Row &at(qsizetype position) const { return m_rows[static_cast<std::size_t>(position)]; }

    std::vector<Row> m_rows;
    QHash<QString, quint32> m_positions; // by id
    SearchTexts m_searchTexts;
};

/// The rows of `order` that a search lets through.
///
/// \param needle        as `needleOf` gives it; empty lets all through.
/// \param onlyFailures  leaves out rows without failures.
RowOrder shownOf(const TableRows &rows, const RowOrder &order, const QByteArray &needle, bool onlyFailures);

} // namespace gateway::browser
