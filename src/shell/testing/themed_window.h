#pragma once

#include "shell/theme/theme.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QVBoxLayout>
#include <QtWidgets/QWidget>

namespace gateway::shell::testing {

/// A shown window under an applied theme without motion, with a column for what is tested.
///
/// Owner: the test. Thread: main.
class ThemedWindow
{
public:
    ThemedWindow()
    {
        m_theme.setReducedMotion(true);
        m_theme.applyTo(*qApp);
        m_window.resize(640, 480);
    }

    Theme &theme() { return m_theme; }
    QWidget &window() { return m_window; }

    /// Adds a widget at the end of the column.
    template <typename Widget>
    Widget &add(Widget *widget)
    {
        m_column.addWidget(widget);
        return *widget;
    }

    /// Shows the window and waits until it is the active one.
    bool show()
    {
        m_window.show();
        m_window.activateWindow();
        return QTest::qWaitForWindowActive(&m_window, 30'000);
    }

private:
    Theme m_theme;
    QWidget m_window;
    QVBoxLayout m_column{&m_window};
};

} // namespace gateway::shell::testing
