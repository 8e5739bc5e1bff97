#pragma once

#include "shell/controls/accessible_painted.h"
#include "state/transfer_line_chart.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// The sum of one series, on a ground tinted with its colour.
///
/// Owner: its parent. Thread: main.
class SummaryPill : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    explicit SummaryPill(const Theme &theme, QWidget *parent = nullptr);

    void setPill(const state::SummaryPill &pill);
    const state::SummaryPill &pill() const { return m_pill; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    QAccessible::Role accessibleRole() const override { return QAccessible::StaticText; }
    QString accessibleWords() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString valueText() const;

    const Theme &m_theme;
    state::SummaryPill m_pill;
};

/// One line of the legend: a dot in the colour of its series, and the series' name.
///
/// Owner: its parent. Thread: main.
class LegendItem : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    LegendItem(const Theme &theme, const state::LegendItem &item, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    QAccessible::Role accessibleRole() const override { return QAccessible::StaticText; }
    QString accessibleWords() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    const state::LegendItem m_item;
};

} // namespace gateway::shell
