#pragma once

#include "shell/dashboard/cards/state_binding.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>

namespace gateway::shell::testing {

/// Runs the main thread until every widget shows the live figures of now.
inline void showFigures()
{
    const auto isSomethingDue = [] {
        for (const QWidget *window : QApplication::topLevelWidgets()) {
            for (const StateBinding *binding : window->findChildren<StateBinding *>()) {
                if (binding->isDue()) {
                    return true;
                }
            }
        }
        return false;
    };
    if (!QTest::qWaitFor([&] { return !isSomethingDue(); }, 30'000)) {
        qFatal("a figure was never shown");
    }
    QCoreApplication::processEvents();
}

} // namespace gateway::shell::testing
