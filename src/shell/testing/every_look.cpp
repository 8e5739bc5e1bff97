#include "shell/testing/every_look.h"

#include "shell/language/translations.h"
#include "shell/testing/screen_checks.h"
#include "shell/theme/theme.h"

#include <QtCore/QCoreApplication>
#include <QtWidgets/QWidget>

#include <optional>

namespace gateway::shell::testing {

namespace {

/// Lets layouts that follow from each other find their end.
void settle()
{
    for (int turn = 0; turn < 30; ++turn) {
        QCoreApplication::processEvents();
    }
}

/// What is wrong with the process or the window so that it doesn't have the look that is meant.
QString missedLook(const QWidget &window, QSize size)
{
    const QString factor = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
    if (window.devicePixelRatio() != factor.toDouble()) {
        return QStringLiteral("a ratio of pixels of %1").arg(window.devicePixelRatio());
    }
    if (!window.isVisible()) {
        return QStringLiteral("it isn't shown");
    }
    return size.isEmpty() || window.size() == size ? QString() : QStringLiteral("it has another size");
}

QString clippedAt(const QString &look, const Opened &shown, QSize size)
{
    if (size == kLeast) {
        shown.window.resize(shown.window.minimumSizeHint().expandedTo(shown.window.minimumSize()));
    } else if (!size.isEmpty()) {
        shown.window.setFixedSize(size);
    }
    settle();
    const QString name = QStringLiteral("%1-%2x%3@%4")
                             .arg(look)
                             .arg(shown.window.width())
                             .arg(shown.window.height())
                             .arg(shown.window.devicePixelRatio());
    keepPicture(shown.window, name);
    QStringList found = clippedIn(shown.window);
    if (const QString missed = missedLook(shown.window, size); !missed.isEmpty()) {
        found.append(missed);
    }
    return found.isEmpty() ? QString()
                           : QStringLiteral("%1: %2\n").arg(name, found.join(QStringLiteral(" | ")));
}

QString
clippedInThisLanguage(const QString &look, const QList<QSize> &sizes, const std::function<Opened()> &open)
{
    QString found;
    const Opened shown = open();
    for (const Variant variant : {Variant::dark, Variant::light}) {
        shown.theme.setVariant(variant);
        const QString face = variant == Variant::dark ? QStringLiteral("dark") : QStringLiteral("light");
        for (const QSize &size : sizes) {
            found += clippedAt(look + u'-' + face, shown, size);
        }
    }
    shown.theme.setVariant(Variant::dark);
    return found;
}

} // namespace

std::string
clippedInEveryLook(const QString &name, const QList<QSize> &sizes, const std::function<Opened()> &open)
{
    QString found = clippedInThisLanguage(name + QStringLiteral("-english"), sizes, open);
    {
        const Translations german{QLocale(QLocale::German)};
        found += german.isTranslated() ? QString() : QStringLiteral("there is no German\n");
        found += clippedInThisLanguage(name + QStringLiteral("-german"), sizes, open);
    }
    PseudoLocale longer;
    QCoreApplication::installTranslator(&longer);
    found += clippedInThisLanguage(name + QStringLiteral("-longer"), sizes, open);
    QCoreApplication::removeTranslator(&longer);
    return found.toStdString();
}

} // namespace gateway::shell::testing
