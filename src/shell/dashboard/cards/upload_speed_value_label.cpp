#include "shell/dashboard/cards/upload_speed_value_label.h"

#include <QtCore/QLocale>

#include <cmath>

namespace gateway::shell {

namespace {

constexpr double kSmallestShown = 0.1;
constexpr double kTwoDigitsFrom = 10;
constexpr double kThreeDigitsFrom = 100;

int decimalsOf(double speed)
{
    if (speed < kTwoDigitsFrom) {
        return 2;
    }
    return speed < kThreeDigitsFrom ? 1 : 0;
}

} // namespace

UploadSpeedValueLabel::UploadSpeedValueLabel(const Theme &theme, TypeStyle style, QWidget *parent)
    : FixedDigitLabel(theme, textOf(0), style, Color::text, parent)
{
    setAccessibleName(tr("Speed"));
    setAccessibleDescription(text());
}

void UploadSpeedValueLabel::setSpeedMbps(double speedMbps)
{
    m_speedMbps = speedMbps;
    setText(textOf(speedMbps));
    setAccessibleDescription(text());
}

QString UploadSpeedValueLabel::textOf(double speedMbps)
{
    const double speed = std::isfinite(speedMbps) && speedMbps > 0 ? speedMbps : 0;
    if (speed < kSmallestShown) {
        return QStringLiteral("--");
    }
    QLocale plain;
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    return tr("%1 Mbps").arg(plain.toString(speed, 'f', decimalsOf(speed)));
}

} // namespace gateway::shell
