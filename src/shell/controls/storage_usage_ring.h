#pragma once

#include "shell/controls/accessible_painted.h"
#include "shell/controls/transition.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

/// How much of a storage is used, as a ring with the percentage in it.
///
/// Owner: its parent. Thread: main.
class StorageUsageRing : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    StorageUsageRing(const Theme &theme, Color color, QWidget *parent = nullptr);

    /// Used over used plus available; 0 where that sum is 0. What is below zero counts as zero.
    static double fractionOf(double usedBytes, double availableBytes);

    /// From 0 to 1; what lies beyond counts as the nearer end.
    void setUsedFraction(double usedFraction);
    double usedFraction() const { return m_usedFraction; }

    /// Shows "--" and no arc: nobody knows the figures yet.
    void setUnknown();

    QSize sizeHint() const override { return {96, 96}; }
    QSize minimumSizeHint() const override { return {64, 64}; }

    QAccessible::Role accessibleRole() const override { return QAccessible::ProgressBar; }
    QString accessibleWords() const override { return tr("Used storage"); }
    std::optional<double> accessiblePercentage() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void announceValue();
    void paintArcs(QPainter &painter, const QRectF &circle) const;

    const Theme &m_theme;
    const Color m_color;
    bool m_isKnown = false;
    double m_usedFraction = 0;
    Transition m_arc;
};

} // namespace gateway::shell
