#pragma once

namespace gateway::shell {

/// The screens of the main window.
enum class Screen
{
    overview,
    logs
};

} // namespace gateway::shell
