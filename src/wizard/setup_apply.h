#pragma once

#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "wizard/gateway_setup_draft.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

/// The version that a finished setup is marked with.
inline constexpr int kSetupVersion = 1;

/// The settings as they stand, as a draft to begin with; the account's fields and the address are empty.
GatewaySetupDraft storedDraft(const core::Settings &settings, const platform::UserDefaults &defaults);

/// Writes a draft that has passed its checks into the settings; what it doesn't hold stays as it is. Setup
/// isn't marked as done yet.
///
/// \param bookmark  what is kept of the draft's folder, to find it again.
/// \return the sentence for the operator when the folder can't be kept, in which case nothing is written, or
/// when
///         the settings can't be written.
std::optional<QString> writeDraft(const GatewaySetupDraft &draft,
                                  const std::optional<QByteArray> &bookmark,
                                  core::Settings &settings,
                                  platform::UserDefaults &defaults);

/// Marks setup as done; to be called once the listener runs.
///
/// \param now  UTC.
/// \return false when that could not be written; the gate stays closed then.
bool markSetupCompleted(core::Settings &settings, const QDateTime &now);

/// What to tell when settings could not be written.
QString settingsNotWrittenMessage();

} // namespace gateway::wizard
