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

/// The visible labels and buttons below `root` that have less room than their words need, by their words.
QStringList clippedIn(const QWidget &root);

} // namespace gateway::shell::testing
