#pragma once

#include "account/session_standing.h"
#include "index/pending_image_upload.h"
#include "state/listener_figures.h"
#include "state/upkeep_figures.h"
#include "upload/failure_figures.h"
#include "upload/upload_run_figures.h"
#include "upload/waiting_uploads.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::terminal {

/// How the gateway does at one moment. Thread: a plain value.
struct StatusReport
{
    state::ListenerFigures listener;
    state::UpkeepFigures upkeep;

    struct Counters
    {
        qint64 studies = 0, series = 0, images = 0, notSynced = 0, synced = 0, failed = 0;
        std::optional<index::InstanceCounts> instances; ///< nothing when the index can't be read
    } counters;

    struct Storage
    {
        qint64 usedBytes = 0, availableBytes = 0;
    } storage;

    /// Images received and sent in each bucket of a window that ends now.
    struct Activity
    {
        QString timeframe;
        QDateTime windowStart;
        std::chrono::seconds bucket{0};
        std::vector<std::int64_t> received, sent;
    } activity;

    struct Cloud
    {
        QString kind, baseUrl;
        std::optional<bool> isOnline; ///< nothing before it has been asked
        QString lastError;
        QDateTime lastCheckedAt; ///< UTC; invalid before the first answer

        struct Storage
        {
            double allowanceKb = 0, usedKb = 0;
        };
        std::optional<Storage> storage; ///< nothing where the cloud doesn't tell
    } cloud;

    struct Terms
    {
        std::optional<bool> isRequired; ///< nothing while nobody knows
        QString version, reason;        ///< of terms that are required
    } terms;

    struct Session
    {
        bool isSignedIn = false;
        QString label;
        account::SessionStanding standing;
        QString trouble = {}; ///< a sentence, while the sign-in is refused or can't be had
    } session;

    struct Setup
    {
        bool isRequired = true;
        qint64 version = 0;
    } setup;

    QList<upload::FailureFigure> failures; ///< why images wait that were tried
    upload::WaitingUploads waiting;
    int openAssociations = 0;
    upload::UploadRunFigures upload;
    double uploadSpeedMbps = 0;
    QString banner; ///< one line about updates; empty when there is nothing to say
};

/// The report as one JSON object with keys that don't change.
QJsonObject toJson(const StatusReport &report);

/// The JSON object in words, some lines for people.
QString statusText(const QJsonObject &status);

} // namespace gateway::terminal
