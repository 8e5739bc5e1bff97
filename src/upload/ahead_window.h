#pragma once

#include <QtCore/QList>
#include <QtCore/QtGlobal>

#include <algorithm>
#include <numeric>

namespace gateway::upload {

/// How many files of a page are made ready before their turn: as many as the requests under way hold, at
/// least two, so that the network never waits; but large ones aren't piled up beside the store.
///
/// Owner: UploadRun, for a page. Thread: the run's.
class AheadWindow
{
public:
    /// No further file is made ready while so much waits that nobody sends.
    static constexpr qint64 kMostBytes = qint64{256} << 20;

    /// How many files of the page were looked at so far, in their order.
    qsizetype size() const { return m_bytes.size(); }

    /// True when the next file is to be looked at.
    ///
    /// \param due    how many files of the page have had their turn, with those that have it now.
    /// \param ahead  how many the requests under way hold.
    bool wantsNext(qsizetype due, qsizetype ahead) const
    {
        constexpr qsizetype kFewest = 2;
        const QList<qint64> waiting = m_bytes.mid(due);
        return size() < due || (waiting.size() < std::max(kFewest, ahead) &&
                                std::accumulate(waiting.begin(), waiting.end(), qint64{0}) < kMostBytes);
    }

    /// \param bytes  of the next file; 0 where it isn't there.
    void add(qint64 bytes) { m_bytes.append(bytes); }

private:
    QList<qint64> m_bytes;
};

} // namespace gateway::upload
