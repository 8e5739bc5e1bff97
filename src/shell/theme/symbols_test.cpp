#include "shell/theme/symbols.h"

#include "shell/theme/theme.h"

#include <QtCore/QDir>
#include <QtCore/QSet>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

/// The colour of every pixel that shows anything.
QSet<QRgb> inks(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    QSet<QRgb> found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) == 255) {
                found.insert(image.pixel(x, y));
            }
        }
    }
    return found;
}

TEST(Symbols, OfAllScreensHaveAnIcon)
{
    for (const char *symbol : {"quorinGatewayCloud.fill",
                               "cloud.fill",
                               "arrow.triangle.2.circlepath.circle.fill",
                               "lock.fill",
                               "checkmark.circle.fill",
                               "arrow.clockwise.circle.fill",
                               "exclamationmark.triangle.fill",
                               "folder.fill",
                               "tray.and.arrow.up.fill",
                               "ellipsis.circle",
                               "square.grid.2x2.fill",
                               "list.bullet.rectangle",
                               "gearshape.fill",
                               "arrow.up.doc.fill",
                               "arrow.clockwise",
                               "dot.radiowaves.left.and.right",
                               "tablecells",
                               "square.and.arrow.down.fill",
                               "tray.and.arrow.down.fill",
                               "paperplane.fill",
                               "arrow.down",
                               "arrow.up",
                               "calendar",
                               "line.3.horizontal.decrease.circle",
                               "folder",
                               "trash",
                               "person.crop.circle",
                               "antenna.radiowaves.left.and.right"}) {
        const QPixmap pixmap = symbolPixmap(QString::fromLatin1(symbol), Theme().color(Color::text), 24, 1);
        EXPECT_FALSE(inks(pixmap).isEmpty()) << symbol;
    }
}

TEST(Symbols, EachHasAFileAndEachFileASymbol)
{
    QSet<QString> used;
    const QStringList names = symbolNames();
    for (const QString &name : names) {
        EXPECT_TRUE(QFile::exists(symbolFile(name))) << qPrintable(name);
        used.insert(symbolFile(name));
    }

    const QDir icons(QStringLiteral(":/shell/icons"));
    const QStringList files = icons.entryList();
    ASSERT_FALSE(files.isEmpty());
    for (const QString &file : files) {
        EXPECT_TRUE(used.contains(icons.filePath(file))) << qPrintable(file);
    }
}

TEST(Symbols, ArePaintedInTheAskedColorAlone)
{
    const QColor green = Theme().color(Color::green);

    EXPECT_EQ(inks(symbolPixmap(u"stop.fill", green, 24, 2)), QSet<QRgb>{green.rgba()});
}

TEST(Symbols, AreAsLargeAsAskedAtAnyPixelRatio)
{
    const QPixmap pixmap = symbolPixmap(u"cloud.fill", Theme().color(Color::text), 18, 2);

    EXPECT_EQ(pixmap.size(), QSize(36, 36));
    EXPECT_EQ(pixmap.deviceIndependentSize(), QSizeF(18, 18));
}

TEST(Symbols, AreCachedByNameColorSizeAndRatio)
{
    const QColor text = Theme().color(Color::text);
    const qint64 first = symbolPixmap(u"cloud.fill", text, 18, 1).cacheKey();

    EXPECT_EQ(symbolPixmap(u"cloud.fill", text, 18, 1).cacheKey(), first);
    EXPECT_NE(symbolPixmap(u"folder", text, 18, 1).cacheKey(), first);
    EXPECT_NE(symbolPixmap(u"cloud.fill", Theme().color(Color::blue), 18, 1).cacheKey(), first);
    EXPECT_NE(symbolPixmap(u"cloud.fill", text, 16, 1).cacheKey(), first);
    EXPECT_NE(symbolPixmap(u"cloud.fill", text, 18, 2).cacheKey(), first);
}

TEST(Symbols, WithoutAnIconHaveNoPicture)
{
    EXPECT_TRUE(symbolFile(u"no.such.symbol").isEmpty());
    EXPECT_TRUE(symbolPixmap(u"no.such.symbol", Theme().color(Color::text), 18, 1).isNull());
}

} // namespace
} // namespace gateway::shell
