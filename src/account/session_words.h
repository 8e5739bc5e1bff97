#pragma once

#include "account/session_standing.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::account {

/// What the line about the account says; every screen and the command line say it in these words. Thread:
/// any.
///
/// \param label  who is signed in; nothing where that isn't known.
QString accountText(SessionState state, const std::optional<QString> &label);

} // namespace gateway::account
