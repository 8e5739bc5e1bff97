#pragma once

#include "shell/controls/sheet.h"

namespace gateway::shell {

class TextLabel;

/// Something that has to be seen before one goes on: a sentence and one button.
///
/// Owner: the window. Thread: main.
class ReportAlert : public Sheet
{
    Q_OBJECT

public:
    /// \param theme   outlives this.
    /// \param window  the widget that it covers; owns this.
    ReportAlert(const Theme &theme, QWidget &window);

    void tell(const QString &title, const QString &message);

private:
    TextLabel *m_message;
};

} // namespace gateway::shell
