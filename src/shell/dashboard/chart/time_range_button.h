#pragma once

#include "shell/controls/transition.h"
#include "state/transfer_timeframe.h"

#include <QtWidgets/QPushButton>

#include <optional>

class QActionGroup;

namespace gateway::shell {

/// "Time Range" over the range that shows, with a menu of the timeframes; the present one has a check mark.
///
/// Owner: its parent. Thread: main.
class TimeRangeButton : public QPushButton
{
    Q_OBJECT

public:
    explicit TimeRangeButton(const Theme &theme, QWidget *parent = nullptr);

    void setRange(state::TransferTimeframe timeframe, const QString &rangeTitle);
    const QString &rangeTitle() const { return m_rangeTitle; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    /// The user chose it, be it the present one.
    void chosen(gateway::state::TransferTimeframe timeframe);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void paintWords(QPainter &painter, int left) const;

    const Theme &m_theme;
    QString m_rangeTitle;
    std::optional<state::TransferTimeframe> m_current;
    QActionGroup *m_timeframes;
    Transition m_hover;
};

} // namespace gateway::shell
