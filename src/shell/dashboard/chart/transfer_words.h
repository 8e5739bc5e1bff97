#pragma once

#include <QtCore/QString>

namespace gateway::shell {

/// A name of a series or of a timeframe, in the user's language.
QString transferWord(const QString &word);

} // namespace gateway::shell
