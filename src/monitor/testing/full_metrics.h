#pragma once

#include "monitor/prometheus_text.h"

namespace gateway::monitor::testing {

/// A view in which every figure is known, so that its text holds every family there is.
inline MetricsView fullMetrics()
{
    HealthFigures figures;
    figures.isSetupFinished = true;
    figures.listener = {.isEnabled = true,
                        .isListening = true,
                        .aeTitle = QStringLiteral("QUORIN"),
                        .port = 11112,
                        .failure = {},
                        .openAssociations = 2,
                        .receivedPerSecond = 1.5};
    figures.index = {.isAnswering = true,
                     .studies = 3,
                     .series = 8,
                     .images = 500,
                     .unsent = 40,
                     .synced = 460,
                     .failed = 5,
                     .instances = {.total = 30, .synced = 26, .failed = 1},
                     .oldestUnsentAge = std::chrono::milliseconds(90'500)};
    figures.storage = {.usedBytes = 5'000'000'000,
                       .reserveBytes = 64 * 1024 * 1024,
                       .rooms = {{QStringLiteral("inbox"), 2'000'000'000, std::chrono::hours(1)},
                                 {QStringLiteral("store"), 3'000'000'000, std::chrono::hours(2)}}};
    figures.cloud = {.isOnline = true,
                     .session = account::SessionState::signedIn,
                     .areTermsRequired = false,
                     .isUploading = true,
                     .uploadBytesPerSecond = 1'250'000,
                     .failedFiles = {{QStringLiteral("network"), 3}},
                     .waitingFiles = 2,
                     .untilNextTry = std::chrono::seconds(60),
                     .pause = std::chrono::seconds(30)};
    figures.totals = {.associations = 9,
                      .failedAssociations = 1,
                      .receivedImages = 120,
                      .receivedBytes = 60'000'000,
                      .failedImports = 1,
                      .uploadedImages = 110,
                      .uploadedBytes = 20'000'000,
                      .failedUploads = 7,
                      .listenerFailures = 1,
                      .turnedAway = {{QStringLiteral("request_too_late"), 3}}};
    MetricsView view;
    view.figures = figures;
    view.age = std::chrono::milliseconds(5);
    view.isMainLoopAnswering = true;
    view.version = QStringLiteral("1.2.3");
    return view;
}

} // namespace gateway::monitor::testing
