#pragma once

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Card;
class Theme;

/// The parts of the gallery, one card each. Each control stands there in each of its states, which are forced
/// where they otherwise need a pointer or a keyboard.
Card *typeSection(const Theme &theme);
Card *buttonSection(const Theme &theme);
Card *toggleSection(const Theme &theme);
Card *fieldSection(const Theme &theme);
Card *storageSection(const Theme &theme);
Card *stateSection(const Theme &theme);
Card *progressSection(const Theme &theme);
Card *emptySection(const Theme &theme);
Card *tableSection(const Theme &theme);
Card *popupSection(const Theme &theme);
Card *symbolSection(const Theme &theme);

/// States that a still picture can't reach by itself.
enum class Forced
{
    rest,
    hover,
    pressed,
    focus,
    selected,
    disabled,
    busy
};

/// Puts a control into a state for good.
void force(QWidget &widget, Forced state);

} // namespace gateway::shell
