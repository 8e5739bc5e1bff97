#pragma once

#include <QtCore/QList>
#include <QtCore/QString>

namespace gateway::shell {

class Button;
class Card;
class TextLabel;
class Theme;

/// Adds a folder to a card: what it is for, its path, and beside each other the ways to another one.
///
/// \param path, ways  become the card's.
void addFolderRows(
    Card &card, const Theme &theme, const QString &name, TextLabel *path, const QList<Button *> &ways);

} // namespace gateway::shell
