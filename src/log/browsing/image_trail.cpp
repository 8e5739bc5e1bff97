#include "log/browsing/image_trail.h"

#include "log/browsing/log_row_reader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace gateway::log {

namespace {

constexpr qsizetype kHashDigits = 16;

/// Hashes in lower case, as the words of the rows have them.
using Hashes = std::unordered_set<std::string>;

std::optional<QString> storedFileHash(const GatewayLogEvent &event)
{
    const auto details = event.details.value_or(QMap<QString, QString>());
    const auto found = details.constFind(kStoredFileHashKey);
    return found == details.constEnd() ? std::nullopt : std::optional(*found);
}

bool tellsOfAssociation(GatewayLogAction action)
{
    return action == GatewayLogAction::associationStarted ||
           action == GatewayLogAction::associationCompleted || action == GatewayLogAction::associationFailed;
}

/// Follows hashes through the rows: from an association to its images, from the name that an image had in the
/// inbox to the one in the file store, and back.
class Trail
{
public:
    explicit Trail(std::shared_ptr<const LogRows> rows) : m_rows(std::move(rows)), m_reader(m_rows) {}

    FilteredLogRows follow(const QStringList &hashes)
    {
        begin(hashes);
        while (std::exchange(m_isGrown, false)) {
            for (const quint32 position : holding(m_files)) {
                learn(position);
            }
        }
        return {m_rows, result()};
    }

private:
    /// The files that hashes stand for: themselves, or those of the associations that they name.
    void begin(const QStringList &hashes)
    {
        Hashes named;
        for (const QString &hash : hashes) {
            add(named, hash.toLower());
        }
        for (const quint32 position : holding(named)) {
            const std::optional<LogRow> row = rowOfReception(position);
            if (row && row->event.assocHash && named.contains(row->event.assocHash->toStdString())) {
                add(m_associations, row->event.assocHash);
                add(m_files, row->event.fileHash);
            }
        }
        for (const QString &hash : hashes) {
            if (!m_associations.contains(hash.toLower().toStdString())) {
                add(m_files, hash.toLower());
            }
        }
    }

    /// Associations are told of in events of the reception alone; the others needn't be read.
    std::optional<LogRow> rowOfReception(quint32 position)
    {
        return m_rows->record(position).category == GatewayLogCategory::receive ? m_reader.row(position)
                                                                                : std::nullopt;
    }

    /// Takes up what an event of the reception tells beside its file.
    void learn(quint32 position)
    {
        if (!m_learnt.insert(position).second) {
            return;
        }
        if (const std::optional<LogRow> row = rowOfReception(position)) {
            add(m_files, row->event.fileHash);
            add(m_files, storedFileHash(row->event));
            add(m_associations, row->event.assocHash);
        }
    }

    void add(Hashes &hashes, const std::optional<QString> &hash)
    {
        if (hash && hashes.insert(hash->toStdString()).second) {
            m_isGrown = true;
        }
    }

    /// The positions of the rows that name one of the hashes, as a field or as the file that an import made.
    std::vector<quint32> holding(const Hashes &hashes) const
    {
        std::vector<WordMarks> marks;
        for (const auto &file : m_rows->files()) {
            marks.push_back(marked(file->dictionary, hashes));
        }
        std::vector<quint32> positions;
        for (qsizetype position = 0; position < m_rows->count(); ++position) {
            const LogRows::Place &place = m_rows->place(position);
            const auto words = m_rows->file(place).wordsOf(place.record);
            const WordMarks &wanted = marks[place.file];
            if (std::ranges::any_of(words, [&](LogWords::Id word) { return wanted[word]; })) {
                positions.push_back(static_cast<quint32>(position));
            }
        }
        return positions;
    }

    static WordMarks marked(const LogWords &dictionary, const Hashes &hashes)
    {
        static const std::string key = QString(kStoredFileHashKey).toStdString() + '=';
        WordMarks marks(dictionary.count(), false);
        for (std::size_t id = 0; id < dictionary.count(); ++id) {
            std::string_view word = dictionary.word(static_cast<LogWords::Id>(id));
            if (word.starts_with(key)) {
                word.remove_prefix(key.size());
            }
            marks[id] = std::ssize(word) == kHashDigits && hashes.contains(std::string(word));
        }
        return marks;
    }

    /// The rows of the files, and those that tell of their associations alone.
    std::vector<quint32> result() const
    {
        std::vector<quint32> positions = holding(m_files);
        std::ranges::copy_if(
            holding(m_associations), std::back_inserter(positions), [this](quint32 position) {
                return tellsOfAssociation(m_rows->record(position).action);
            });
        std::ranges::sort(positions);
        return positions;
    }

    const std::shared_ptr<const LogRows> m_rows;
    LogRowReader m_reader;
    Hashes m_files;
    Hashes m_associations;
    std::unordered_set<quint32> m_learnt;
    bool m_isGrown = false;
};

} // namespace

bool isLogHash(const QString &text)
{
    return text.size() == kHashDigits && std::ranges::all_of(text, [](QChar digit) {
               return (digit >= u'0' && digit <= u'9') ||
                      (digit.toLower() >= u'a' && digit.toLower() <= u'f');
           });
}

FilteredLogRows imageTrail(std::shared_ptr<const LogRows> rows, const QStringList &hashes)
{
    return Trail(std::move(rows)).follow(hashes);
}

} // namespace gateway::log
