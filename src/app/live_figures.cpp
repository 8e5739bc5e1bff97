#include "app/live_figures.h"

#include <cmath>

namespace gateway::app {

namespace {

constexpr std::chrono::seconds kSpeedFades{8};

/// Associations without an identifier count as one.
QString keyOf(const QString &association)
{
    const QString trimmed = association.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("__default_assoc__") : trimmed;
}

} // namespace

void LiveFigures::beginReceiveAssociation(const QString &association)
{
    m_associations.insert(keyOf(association));
}

void LiveFigures::endReceiveAssociation(const QString &association)
{
    m_associations.remove(keyOf(association));
}

void LiveFigures::clearReceiveAssociations()
{
    m_associations.clear();
}

void LiveFigures::recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed)
{
    if (bytes < 1 || elapsed.count() <= 0) {
        return;
    }
    const double sample = static_cast<double>(bytes) * 8 / elapsed.count() / 1'000'000;
    if (!std::isfinite(sample) || sample <= 0) {
        return;
    }
    const double before = uploadSpeedMbps();
    m_speedMbps = before > 0 ? before * 0.65 + sample * 0.35 : sample;
    m_speedAt = m_clock.monotonic();
}

double LiveFigures::uploadSpeedMbps() const
{
    return m_clock.monotonic() - m_speedAt < kSpeedFades ? m_speedMbps : 0;
}

} // namespace gateway::app
