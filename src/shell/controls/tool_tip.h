#pragma once

#include <QtCore/QString>

namespace gateway::shell {

/// A tool tip that shows a text as it stands, with its lines, whatever it holds: left to itself, a tool tip
/// takes some texts for markup.
inline QString toolTipOf(const QString &text)
{
    return text.isEmpty() ? QString()
                          : QStringLiteral("<qt>%1</qt>")
                                .arg(text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")));
}

} // namespace gateway::shell
