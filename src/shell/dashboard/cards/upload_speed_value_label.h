#pragma once

#include "shell/controls/fixed_digit_label.h"

namespace gateway::shell {

/// How fast images leave, such as "12.5 Mbps".
///
/// Owner: its parent. Thread: main.
class UploadSpeedValueLabel : public FixedDigitLabel
{
    Q_OBJECT

public:
    explicit UploadSpeedValueLabel(const Theme &theme,
                                   TypeStyle style = TypeStyle::h2,
                                   QWidget *parent = nullptr);

    /// \param speedMbps  decimal megabits per second; what isn't a speed counts as 0.
    void setSpeedMbps(double speedMbps);
    double speedMbps() const { return m_speedMbps; }

    /// The speed in words: three digits or a little more, "--" below a tenth.
    static QString textOf(double speedMbps);

private:
    double m_speedMbps = 0;
};

} // namespace gateway::shell
