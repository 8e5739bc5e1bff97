#pragma once

#include "account/session_standing.h"
#include "app/failure_figures.h"
#include "app/upload_run_watcher.h"
#include "app/waiting_uploads.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::app {

/// How the gateway does at one moment. Thread: a plain value.
struct StatusReport
{
    struct Listener
    {
        bool isListening = false;
        QString aeTitle;
        int port = 0;    ///< the bound one while listening, else the configured one
        QString address; ///< to register in a modality
        QString error;   ///< why the last start failed; empty once one succeeded
    } listener;

    /// What a person should know of although nothing of it has failed.
    struct Upkeep
    {
        qint64 setAsideFiles = 0;         ///< received, and not taken in
        bool isRetentionHeldBack = false; ///< the clock is in doubt
    } upkeep;

    struct Counters
    {
        qint64 studies = 0, series = 0, images = 0, notSynced = 0, synced = 0, failed = 0;
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
    } session;

    struct Setup
    {
        bool isRequired = true;
        qint64 version = 0;
    } setup;

    QList<FailureFigure> failures; ///< why images wait that were tried
    WaitingUploads waiting;
    int openAssociations = 0;
    UploadRunFigures upload;
    double uploadSpeedMbps = 0;
    QString banner; ///< one line about updates; empty when there is nothing to say
};

/// The report as one JSON object with keys that don't change.
QJsonObject toJson(const StatusReport &report);

/// The JSON object in words, some lines for people.
QString statusText(const QJsonObject &status);

} // namespace gateway::app
