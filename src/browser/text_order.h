#pragma once

#include <QtCore/QCollator>

namespace gateway::browser {

/// The order in which the person's language has texts: accents beside their letters, capitals beside small
/// ones, and numbers in them by their value. English where the system names no language.
///
/// Thread: a value for one thread; a sorting makes its own.
QCollator textOrder();

} // namespace gateway::browser
