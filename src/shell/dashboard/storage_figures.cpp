#include "shell/dashboard/storage_figures.h"

#include "shell/controls/painting.h"
#include "shell/controls/storage_hover_tooltip.h"
#include "shell/controls/storage_usage_ring.h"
#include "shell/dashboard/figure.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr double kGigabyte = 1024.0 * 1024 * 1024;
constexpr int kRingEdge = 88;
constexpr double kNearlyFull = 0.9;

} // namespace

QString gigabytesText(double bytes)
{
    return QString::number(bytes / kGigabyte, 'f', 2) + QStringLiteral(" GB");
}

StorageFigures::StorageFigures(const Theme &theme, Color color, const QString &ringName, QWidget *parent)
    : QWidget(parent), m_ring(new StorageUsageRing(theme, color)),
      m_used(new Figure(theme, tr("Used"), TypeStyle::bodyStrong)),
      m_free(new Figure(theme, tr("Free"), TypeStyle::bodyStrong)),
      m_tooltip(new StorageHoverTooltip(theme, this))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(theme.space(Space::gap));
    row->addWidget(m_ring);
    auto *values = new QVBoxLayout;
    values->setSpacing(theme.space(Space::tight));
    values->addStretch();
    values->addWidget(m_used);
    values->addWidget(m_free);
    values->addStretch();
    row->addLayout(values);
    m_ring->setFixedSize(kRingEdge, kRingEdge);
    m_used->setMinimumWidth(widthOf(theme.font(TypeStyle::bodyStrong), QStringLiteral("0000.00 GB")));
    m_ring->setAccessibleName(ringName);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    for (QWidget *anchor :
         {static_cast<QWidget *>(m_ring), static_cast<QWidget *>(m_used), static_cast<QWidget *>(m_free)}) {
        m_tooltip->watch(*anchor);
    }
}

void StorageFigures::setUsage(double usedBytes, double freeBytes, const QString &tooltip)
{
    const double used = std::max(0.0, usedBytes);
    const double sum = used + std::max(0.0, freeBytes);
    const double fraction = sum > 0 ? used / sum : 0;
    m_ring->setUsedFraction(fraction);
    m_used->setText(gigabytesText(usedBytes));
    m_free->setText(gigabytesText(freeBytes));
    m_free->setColor(fraction >= kNearlyFull ? Color::amber : Color::text);
    setTooltip(tooltip);
}

void StorageFigures::setUnknown(const QString &tooltip)
{
    m_ring->setUnknown();
    m_used->setText(QStringLiteral("--"));
    m_free->setText(QStringLiteral("--"));
    m_free->setColor(Color::text);
    setTooltip(tooltip);
}

void StorageFigures::setTooltip(const QString &text)
{
    m_tooltip->setText(text);
    QString spoken = text;
    m_ring->setAccessibleDescription(spoken.replace(u'\n', u' '));
}

bool StorageFigures::isRingHovered() const
{
    return m_ring->underMouse();
}

bool StorageFigures::isUsedHovered() const
{
    return m_used->underMouse();
}

bool StorageFigures::isFreeHovered() const
{
    return m_free->underMouse();
}

} // namespace gateway::shell
