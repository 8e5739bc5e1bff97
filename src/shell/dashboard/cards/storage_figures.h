#pragma once

#include "shell/theme/tokens.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

class QLayout;

namespace gateway::shell {

class Figure;
class StorageHoverTooltip;
class StorageUsageRing;
class Theme;

/// An amount of storage in units of 2 to the power 30 bytes, such as "1.50 GB".
QString gigabytesText(double bytes);

/// Used and free room beside a ring, with a tooltip over all three.
///
/// Owner: its parent. Thread: main.
class StorageFigures : public QWidget
{
    Q_OBJECT

public:
    StorageFigures(const Theme &theme, Color color, const QString &ringName, QWidget *parent = nullptr);

    /// \param tooltip  what is told on hovering; lines are parted by line breaks.
    void setUsage(double usedBytes, double freeBytes, const QString &tooltip);

    /// Nobody knows the figures.
    void setUnknown(const QString &tooltip);

    StorageUsageRing &ring() { return *m_ring; }
    Figure &used() { return *m_used; }
    Figure &free() { return *m_free; }
    StorageHoverTooltip &tooltip() { return *m_tooltip; }

private:
    void setTooltip(const QString &text);

    StorageUsageRing *m_ring;
    Figure *m_used;
    Figure *m_free;
    StorageHoverTooltip *m_tooltip;
};

/// What a card counts, its chief figure above the others, and its storage beside them.
///
/// \param between  the room between the others.
QLayout *countsBeside(
    const Theme &theme, Figure *chief, const QList<Figure *> &others, Space between, StorageFigures *storage);

} // namespace gateway::shell
