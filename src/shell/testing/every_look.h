#pragma once

#include <QtCore/QList>
#include <QtCore/QSize>
#include <QtCore/QString>

#include <functional>
#include <string>

class QWidget;

namespace gateway::shell {
class Theme;
}

namespace gateway::shell::testing {

/// A window that is shown, and what gives it its face. Both live until the next one is opened.
struct Opened
{
    QWidget &window;
    Theme &theme;
};

/// The least size that the window lets itself be given.
inline constexpr QSize kLeast(0, 0);

/// What can't be read whole of a window in English, German and longer words, dark and light, at each of the
/// sizes: a line for each text, with the look in which it was found. Empty when all is well. The ratio of
/// pixels is the process's own; the tests that ask for this run at 1 and at 2.
///
/// \param name   of the pictures that are kept for those who want to look.
/// \param sizes  an empty one leaves the window the size that it came with.
/// \param open   makes the window anew, in the language of that moment, and shows it.
std::string
clippedInEveryLook(const QString &name, const QList<QSize> &sizes, const std::function<Opened()> &open);

/// The same of a sheet over a window.
///
/// \param under  a ThemedWindow, which is shown.
/// \param make   makes the sheet, in the language of that moment; a unique pointer to it.
template <typename Under, typename MakeSheet>
std::string
clippedInEveryLook(const QString &name, const QList<QSize> &sizes, Under &under, const MakeSheet &make)
{
    decltype(make()) sheet;
    return clippedInEveryLook(name, sizes, [&] {
        sheet.reset();
        sheet = make();
        sheet->open();
        return Opened{under.window(), under.theme()};
    });
}

} // namespace gateway::shell::testing
