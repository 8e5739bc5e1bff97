#pragma once

#include <QtCore/QString>

namespace gateway::core {

/// Turns any text into a legal AE title: value representation AE of PS3.5, 6.2, as PS3.8, 9.3.2 carries it.
///
/// Thread: any.
struct AETitleFormatter
{
    /// Drops every character outside the default repertoire (PS3.5, 6.1.2.1), control characters and
    /// backslashes; trims spaces, which carry no meaning at either end; keeps at most 16 characters.
    ///
    /// \return empty text when no letter or digit is left.
    static QString format(const QString &text);
};

} // namespace gateway::core
