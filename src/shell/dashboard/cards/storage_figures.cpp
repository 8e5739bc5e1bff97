#include "shell/dashboard/cards/storage_figures.h"

#include "shell/controls/painting.h"
#include "shell/controls/storage_hover_tooltip.h"
#include "shell/controls/storage_usage_ring.h"
#include "shell/dashboard/cards/figure.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

#include <QtCore/QLocale>

namespace gateway::shell {

namespace {

constexpr double kGigabyte = 1024.0 * 1024 * 1024;
constexpr int kRingEdge = 88;
constexpr double kNearlyFull = 0.9;

} // namespace

QString gigabytesText(double bytes)
{
    QLocale plain;
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    return plain.toString(bytes / kGigabyte, 'f', 2) + QStringLiteral(" GB");
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
    const double fraction = StorageUsageRing::fractionOf(usedBytes, freeBytes);
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

QLayout *countsBeside(
    const Theme &theme, Figure *chief, const QList<Figure *> &others, Space between, StorageFigures *storage)
{
    auto *lower = new QHBoxLayout;
    lower->setSpacing(theme.space(between));
    for (Figure *other : others) {
        lower->addWidget(other);
    }
    lower->addStretch();
    auto *counts = new QVBoxLayout;
    counts->setSpacing(theme.space(Space::gap));
    counts->addStretch();
    counts->addWidget(chief);
    counts->addLayout(lower);
    counts->addStretch();
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::wide));
    row->addLayout(counts, 1);
    row->addWidget(storage);
    return row;
}

} // namespace gateway::shell
