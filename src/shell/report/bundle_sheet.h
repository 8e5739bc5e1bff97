#pragma once

#include "shell/controls/sheet.h"

class QPlainTextEdit;

namespace gateway::shell {

/// Shows a support bundle, to the letter.
///
/// Owner: the window. Thread: main.
class BundleSheet : public Sheet
{
    Q_OBJECT

public:
    /// \param theme   outlives this.
    /// \param window  the widget that it covers; owns this.
    BundleSheet(const Theme &theme, QWidget &window);

    void present(const QString &bundle);

private:
    QPlainTextEdit *m_text;
};

} // namespace gateway::shell
