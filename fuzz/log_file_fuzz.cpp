#include "log/browsing/log_file_rows.h"
#include "log/writing/log_line.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

#include <cstdint>
#include <cstdlib>
#include <vector>

// A log file of any content, taken whole and in two pieces, must give the same records as its lines decoded
// one by one.

namespace {

using namespace gateway::log;

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Takes `text`, with room to read ahead behind it.
void take(LogFileParser &parser, const QByteArray &text, qint64 offset)
{
    const QByteArray padded = text + QByteArray(LogLineDecoder::kReadAhead, '"');
    parser.take(QByteArrayView(padded).first(text.size()), offset);
}

LogFileRows parsed(const std::vector<QByteArray> &pieces)
{
    LogFileRows rows;
    rows.name = QStringLiteral("a b.jsonl");
    LogLineDecoder decoder;
    LogFileParser parser(rows, decoder);
    qint64 offset = 0;
    for (const QByteArray &piece : pieces) {
        take(parser, piece, offset);
        offset += piece.size();
    }
    return rows;
}

QString searchText(const LogFileRows &rows, std::size_t record)
{
    QStringList words;
    for (const LogWords::Id id : rows.wordsOf(record)) {
        const std::string_view word = rows.dictionary.word(id);
        words.append(QString::fromUtf8(word.data(), static_cast<qsizetype>(word.size())));
    }
    return words.join(u' ');
}

QString searchText(const GatewayLogEvent &event, const QString &name)
{
    QStringList pieces = {rawValue(event.action),
                          rawValue(event.category),
                          rawValue(event.level),
                          rawValue(event.outcome),
                          event.correlationId.value_or(QString()),
                          event.assocHash.value_or(QString()),
                          event.fileHash.value_or(QString()),
                          name};
    if (event.error) {
        pieces.append({event.error->domain, event.error->message});
    }
    return pieces.join(u' ').toLower();
}

void requireSame(const LogFileRows &rows, const QByteArray &text)
{
    LogLineDecoder decoder;
    std::size_t record = 0;
    qsizetype from = 0;
    for (const QByteArray &line : text.split('\n')) {
        const auto event = decoder.decode(line);
        if (event) {
            require(record < rows.records.size());
            const LogRecord &found = rows.records[record];
            require(found.offset == from && found.length <= line.size());
            require(found.action == event->action && found.level == event->level);
            require(found.secondsSinceEpoch == event->timestamp.toSecsSinceEpoch());
            require(searchText(rows, record).startsWith(searchText(*event, rows.name)));
            ++record;
        }
        from += line.size() + 1;
    }
    require(record == rows.records.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (!isUtf8(text)) {
        return 0;
    }
    requireSame(parsed({text}), text);
    const qsizetype feed = text.indexOf('\n', text.size() / 2) + 1;
    requireSame(parsed({text.first(feed), text.sliced(feed)}), text);
    return 0;
}
