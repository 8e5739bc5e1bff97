#include "shell/gallery/gallery.h"
#include "shell/theme/theme.h"

#include <QtCore/QCommandLineParser>
#include <QtWidgets/QApplication>

#include <cstdio>

namespace {

using gateway::shell::Gallery;
using gateway::shell::Theme;
using gateway::shell::Variant;

bool save(QWidget &widget, qreal ratio, const QString &file)
{
    const QImage image = gateway::shell::pictureOf(widget, ratio);
    if (image.save(file)) {
        return true;
    }
    std::fprintf(stderr, "quorin-gallery: %s can't be written.\n", qUtf8Printable(file));
    return false;
}

/// Writes the page in both variants, at one and at two device pixels a pixel.
int writePictures(Theme &theme, Gallery &gallery, const QString &folder)
{
    theme.setReducedMotion(true);
    gallery.show();
    gallery.page().resize(1240, gallery.page().sizeHint().height());
    bool isWritten = true;
    for (const Variant variant : {Variant::dark, Variant::light}) {
        theme.setVariant(variant);
        QApplication::processEvents();
        const QString name = variant == Variant::dark ? QStringLiteral("dark") : QStringLiteral("light");
        for (const int ratio : {1, 2}) {
            const QString file = QStringLiteral("%1/gallery-%2-%3x.png").arg(folder, name).arg(ratio);
            isWritten = save(gallery.page(), ratio, file) && isWritten;
        }
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
    gallery.show();
    return QApplication::exec();
}
