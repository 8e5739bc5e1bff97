#pragma once

#include "monitor/health_figures.h"
#include "monitor/process_figures.h"

#include <QtCore/QByteArray>

#include <chrono>
#include <optional>

namespace gateway::monitor {

/// What a scrape tells.
struct MetricsView
{
    std::optional<HealthFigures> figures;             ///< nothing before the first were collected
    std::optional<std::chrono::duration<double>> age; ///< since they were collected
    bool isMainLoopAnswering = false;                 ///< they were collected for this scrape
    ProcessFigures process;
    QString version;
};

/// The content type of the text.
inline constexpr const char *kPrometheusContentType = "text/plain; version=0.0.4; charset=utf-8";

/// The figures in Prometheus' text exposition format, version 0.0.4: base units, every family with its help
/// and type. A figure that isn't known is left out.
///
/// Thread: any.
QByteArray prometheusText(const MetricsView &view);

} // namespace gateway::monitor
