#pragma once

#include "shell/controls/button.h"
#include "shell/controls/text_field.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

namespace gateway::shell::testing {

// What a person sees of a window, found by its words and used as they would. Thread: main.

/// The shown widget of a kind below `root` of which `isMeant` holds; null where there is none.
template <typename Widget, typename IsMeant>
Widget *shownOf(const QWidget &root, IsMeant isMeant)
{
    for (Widget *one : root.findChildren<Widget *>()) {
        if (one->isVisible() && isMeant(*one)) {
            return one;
        }
    }
    return nullptr;
}

/// The shown button of this title; null where there is none.
inline Button *shownButton(const QWidget &root, const QString &title)
{
    return shownOf<Button>(root, [&](const Button &one) { return one.text() == title; });
}

/// The shown field that is named so; null where there is none.
inline TextField *shownField(const QWidget &root, const QString &name)
{
    return shownOf<TextField>(root, [&](const TextField &one) { return one.accessibleName() == name; });
}

/// All words that are shown, one label a line.
inline QString shownWords(const QWidget &root)
{
    QStringList shown;
    for (const QLabel *label : root.findChildren<QLabel *>()) {
        if (label->isVisible()) {
            shown.append(label->text());
        }
    }
    return shown.join(u'\n');
}

/// Clicks the shown button of this title, which must be there and enabled.
inline void pressShown(const QWidget &root, const QString &title)
{
    Button *const button = shownButton(root, title);
    ASSERT_NE(button, nullptr) << title.toStdString() << "; shown are: " << shownWords(root).toStdString();
    ASSERT_TRUE(button->isEnabled()) << title.toStdString();
    button->click();
}

/// Types a text in place of what stands in the shown field that is named so.
inline void typeInto(const QWidget &root, const QString &name, const QString &text)
{
    TextField *const into = shownField(root, name);
    ASSERT_NE(into, nullptr) << name.toStdString();
    into->setFocus();
    into->selectAll();
    QTest::keyClick(into, Qt::Key_Delete);
    QTest::keyClicks(into, text);
    QCoreApplication::processEvents();
}

} // namespace gateway::shell::testing
