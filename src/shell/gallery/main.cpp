#include "shell/gallery/gallery.h"
#include "shell/theme/desktop_preferences.h"
#include "shell/theme/theme.h"

#include <QtCore/QCommandLineParser>
#include <QtWidgets/QApplication>

#include <cstdio>

namespace {

using gateway::shell::Gallery;
using gateway::shell::Theme;
using gateway::shell::Variant;

bool save(QWidget &widget, const QString &file)
{
    if (gateway::shell::pictureOf(widget, widget.devicePixelRatioF()).save(file)) {
        return true;
    }
    std::fprintf(stderr, "quorin-gallery: %s can't be written.\n", qUtf8Printable(file));
    return false;
}

/// Writes the page and the window with what lies over it, in both variants.
int writePictures(Theme &theme, Gallery &gallery, const QString &folder)
{
    theme.setReducedMotion(true);
    gallery.show();
    bool isWritten = true;
    for (const Variant variant : {Variant::dark, Variant::light}) {
        theme.setVariant(variant);
        gallery.hideOverlays();
        QApplication::processEvents();
        const QString ending =
            QStringLiteral("%1-%2x.png")
                .arg(variant == Variant::dark ? QStringLiteral("dark") : QStringLiteral("light"))
                .arg(gallery.devicePixelRatioF());
        isWritten = save(gallery.page(), QStringLiteral("%1/gallery-%2").arg(folder, ending)) && isWritten;
        gallery.showOverlays();
        QApplication::processEvents();
        isWritten = save(gallery, QStringLiteral("%1/overlays-%2").arg(folder, ending)) && isWritten;
    }
    return isWritten ? 0 : 1;
}

} // namespace

/// Shows the house style; `--pictures FOLDER` writes it to files instead.
int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption pictures(
        QStringLiteral("pictures"),
        QStringLiteral("Write pictures of all controls instead of showing them."),
        QStringLiteral("folder"));
    parser.addOption(pictures);
    parser.process(application);

    Theme theme;
    theme.applyTo(application);
    Gallery gallery(theme);
    if (parser.isSet(pictures)) {
        return writePictures(theme, gallery, parser.value(pictures));
    }
    const gateway::shell::DesktopPreferences preferences(theme, QDBusConnection::sessionBus());
    gallery.show();
    return QApplication::exec();
}
