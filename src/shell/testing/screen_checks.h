#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTranslator>

class QWidget;

namespace gateway::shell::testing {

/// The text as a wordier language would have it: 40 % longer, with letters beyond ASCII.
QString lengthened(const QString &text);

/// Gives every translatable text its lengthened form while it is installed.
///
/// Owner: the test. Thread: main.
class PseudoLocale : public QTranslator
{
    Q_OBJECT

public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context,
                      const char *sourceText,
                      const char *disambiguation,
                      int number) const override;
};

/// Keeps a picture of the widget, called `name`, where QUORIN_PICTURES names a folder for those who want to
/// look.
void keepPicture(QWidget &widget, const QString &name);

/// What can't be read whole below `root`, by its words: labels, buttons, prompts, choices, titles of columns,
/// items of lists and painted words that have less room than they need; texts beyond the widget that they are
/// in; and texts that lie upon each other. What scrolls or means to leave something out may do so: cells of
/// tables, an ElidedLabel, a prompt or a choice that a tool tip tells.
QStringList clippedIn(const QWidget &root);

} // namespace gateway::shell::testing
