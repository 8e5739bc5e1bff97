#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace gateway::browser {

/// The texts that rows are searched by, in one piece: a text of its own for each of a hundred thousand rows
/// would take longer to make than all else of a row.
///
/// Owner: the rows. Thread: any; const functions may run at the same time.
class SearchTexts
{
public:
    /// Adds the text of the next row: its fields, joined by one blank, lower-cased.
    void add(std::initializer_list<QStringView> fields);

    /// Whether the text of a row holds `needle`.
    ///
    /// \param row     counted from 0, in the order in which they were added.
    /// \param needle  as `needleOf` gives it.
    bool contains(std::size_t row, const QByteArray &needle) const;

private:
    void addLowerCased(QStringView field);

    QByteArray m_bytes; // UTF-8
    std::vector<qsizetype> m_ends;
};

/// What a person searches for, as the texts are: trimmed, lower-cased and in UTF-8.
QByteArray needleOf(const QString &searchText);

} // namespace gateway::browser
