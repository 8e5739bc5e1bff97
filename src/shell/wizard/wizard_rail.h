#pragma once

#include "wizard/gateway_setup_step.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class TextLabel;
class Theme;
class WizardRailStep;

/// The rail with the five steps: which is the present one, which are done.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class WizardRail : public QWidget
{
    Q_OBJECT

public:
    explicit WizardRail(const Theme &theme, QWidget *parent = nullptr);

    void setStep(wizard::GatewaySetupStep step);

    /// Takes less room.
    void setNarrow(bool narrow);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    QList<WizardRailStep *> m_steps;
    TextLabel *m_progress;
};

} // namespace gateway::shell
