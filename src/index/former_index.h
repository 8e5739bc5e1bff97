#pragma once

#include <QtCore/QString>

#include <optional>

namespace gateway::platform {
class Database;
} // namespace gateway::platform

namespace gateway::index {

/// The copy that is kept of an index file when the file is brought to a later version: with it, one can go
/// back to the program that wrote it.
///
/// It lies beside the file. Once a start has ended in an orderly way a mark says so, and the next opening
/// lets the copy go. Owner: IndexStore. Thread: one at a time.
class FormerIndex
{
public:
    /// \param indexFile  the path of the index.
    explicit FormerIndex(const QString &indexFile);

    /// Copies the index, durably, in the place of a copy that was kept before. Where that fails, or would
    /// leave too little room for what is received, there is none, and problem() says why: no image depends on
    /// the copy, and those that wait do on the index.
    void keep(platform::Database &index);

    /// Why the last keep() kept nothing, as the end of a sentence; else empty.
    QString problem() const { return m_problem; }

    /// Where the copy is, if there is one.
    std::optional<QString> path() const;

    /// Marks the copy as one that has served.
    void noteOrderlyEnd() const;

    /// Removes a copy that has served, and what was left of one that failed. A failure leaves it to the next
    /// time.
    void tidyUp() const;

private:
    void copyDurably(platform::Database &index) const;

    const QString m_copy;
    const QString m_unfinished; // what is to become the copy
    const QString m_mark;
    QString m_problem;
};

} // namespace gateway::index
