#pragma once

#include "log/browsing/log_words.h"
#include "log/writing/gateway_log_event.h"
#include "log/writing/log_line.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QString>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::log {

/// What is kept of one line for sorting and filtering; the rest is read back from the file when it is shown.
struct LogRecord
{
    qint64 secondsSinceEpoch = 0;
    qint64 offset = 0;     ///< of the line in its file, in bytes
    quint32 length = 0;    ///< of the line without its end, in bytes
    quint32 firstWord = 0; ///< in LogFileRows::words; the words reach to those of the next record
    GatewayLogLevel level = GatewayLogLevel::info;
    GatewayLogCategory category = GatewayLogCategory::listener;
    GatewayLogAction action = GatewayLogAction::listenerStartRequested;
    GatewayLogOutcome outcome = GatewayLogOutcome::started;
};

/// How a file looked when it was opened: an unchanged file is not read again.
struct LogFileStamp
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 sizeBytes = 0;
    qint64 modifiedNanoseconds = 0; ///< since the epoch, as the next
    qint64 changedNanoseconds = 0;  ///< also by a change of rights

    bool operator==(const LogFileStamp &) const = default;

    /// True for the same file at another time, whatever it holds by now.
    bool isSameFile(const LogFileStamp &other) const
    {
        return device == other.device && inode == other.inode;
    }
};

/// The records of one log file as they stood at one time, oldest line first.
///
/// Owner: the LogRows that were read, together with those read before and after where the file hasn't
/// changed. Thread: any; never changed once it is made.
struct LogFileRows
{
    QString name; ///< the last component of the path
    LogFileStamp stamp;
    /// One for as long as the file only grows: the same position then means the same line.
    std::shared_ptr<const int> lineage;
    /// Up to here every line is whole; what lies behind is read again when the file has grown.
    qint64 settledBytes = 0;
    std::size_t settledRecords = 0;
    QByteArray settledEnd; ///< the last bytes before settledBytes, by which a grown file is known again
    std::vector<LogRecord> records;
    std::vector<LogWords::Id> words; ///< of all records' search texts, one after another
    LogWords dictionary;

    /// The words of a record's search text, in order.
    std::span<const LogWords::Id> wordsOf(std::size_t record) const;

    /// Gives back memory that was taken in advance.
    void shrink();
};

/// Takes the lines of one log file into a LogFileRows.
///
/// Owner: whoever reads the file. Thread: one at a time.
class LogFileParser
{
public:
    /// \param rows     gets the records; an empty one, or the settled part of an earlier read.
    /// \param decoder  borrowed for as long as this lives.
    LogFileParser(LogFileRows &rows, LogLineDecoder &decoder);

    /// Takes the lines that `text` holds, each from behind the former's line feed to the next one; the last
    /// may lack its line feed. Lines that are no record are passed over.
    ///
    /// \param text    LogLineDecoder::kReadAhead bytes behind it are readable.
    /// \param offset  of `text` in the file.
    void take(QByteArrayView text, qint64 offset);

private:
    void takeLine(QByteArrayView line, qint64 offset);
    void appendWords(const LogLineView &view);
    void appendOptional(const std::optional<std::string_view> &text);
    void appendDetails(const std::vector<LogLineDetail> &details);
    void appendDetail(std::string_view key, std::string_view value);

    LogFileRows &m_rows;
    LogLineDecoder &m_decoder;
    LogWordsBuilder m_builder;
    std::vector<LogWords::Id> m_sourceFile;
    std::string m_item;
};

} // namespace gateway::log
