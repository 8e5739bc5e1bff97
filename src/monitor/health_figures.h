#pragma once

#include "account/session_standing.h"
#include "index/pending_image_upload.h"
#include "monitor/event_counts.h"
#include "state/inbox_figures.h"

#include <QtCore/QMap>
#include <QtCore/QString>

#include <chrono>
#include <optional>
#include <vector>

namespace gateway::monitor {

/// Everything that operators may watch, as it stood at one moment. Thread: a plain value.
struct HealthFigures
{
    struct Listener
    {
        bool isEnabled = true;    ///< by its settings
        bool isListening = false; ///< its port is bound
        QString aeTitle;
        int port = 0;    ///< the bound one while listening, else the configured one
        QString failure; ///< why the last start failed; empty once one succeeded
        int openAssociations = 0;
        double receivedPerSecond = 0; ///< images, over the last minute
    } listener;

    state::InboxFigures inbox;
    bool isStoreOutOfSight = false;   ///< where files were stored there is no store now
    bool isRetentionHeldBack = false; ///< the clock is in doubt, so nothing goes by its age
    qint64 filesToRecordAgain = 0;    ///< stored files that the index may lack; 0 once all have rows
    qint64 filesRecordedAgain = 0;    ///< of those
    qint64 logBytes = 0;              ///< what the log files take

    struct Index
    {
        bool isAnswering = false;
        qint64 studies = 0, series = 0, images = 0;
        qint64 unsent = 0, synced = 0, failed = 0; ///< of the images; a failed one is unsent, too
        index::InstanceCounts instances;
        std::optional<std::chrono::milliseconds> oldestUnsentAge; ///< nothing when all is sent
    } index;

    /// Room on the volume of one of the gateway's folders.
    struct Room
    {
        QString folder; ///< a word: "store" or "inbox"
        qint64 freeBytes = 0;
        std::optional<std::chrono::seconds> untilReserve; ///< nothing while it doesn't fill up
    };

    struct Storage
    {
        std::optional<qint64> usedBytes; ///< nothing before the file store was measured
        qint64 reserveBytes = 0;         ///< free space below which the listener refuses images
        std::vector<Room> rooms;
    } storage;

    struct Cloud
    {
        std::optional<bool> isOnline; ///< nothing before it has been asked
        account::SessionState session = account::SessionState::notKnownYet;
        std::optional<bool> areTermsRequired; ///< nothing where that isn't known
        bool isUploading = false;
        double uploadBytesPerSecond = 0;
        QMap<QString, qint64> failedFiles; ///< files whose upload failed last, by the class of the failure
        qint64 waitingFiles = 0;           ///< of these, such as wait for their time
        std::optional<std::chrono::milliseconds>
            untilNextTry; ///< of the first of them; nothing when none waits
        std::optional<std::chrono::milliseconds>
            pause; ///< until anything is sent again; nothing while it may be
    } cloud;

    bool isSetupFinished = false;
    EventTotals totals;
};

} // namespace gateway::monitor
