#include "shell/theme/theme.h"

#include <QtCore/QMetaEnum>
#include <QtGui/QFontInfo>
#include <QtGui/QPainter>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>

#include <gtest/gtest.h>

#include <cmath>

namespace gateway::shell {
namespace {

/// Relative luminance as the accessibility guidelines for web content define it.
double luminance(const QColor &color)
{
    const auto linear = [](float channel) {
        const double value = double{channel};
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const double lighter = std::max(luminance(one), luminance(other));
    return (lighter + 0.05) / (std::min(luminance(one), luminance(other)) + 0.05);
}

TEST(ThemeTint, WarnsInAmberInBothFaces)
{
    Theme theme;
    for (const Variant variant : {Variant::dark, Variant::light}) {
        theme.setVariant(variant);
        const QColor tint = theme.tinted(Color::amber);
        EXPECT_GT(tint.hsvSaturationF(), 0.6);
        EXPECT_GT(tint.valueF(), 0.9) << "brown isn't amber";
    }
}

TEST(Theme, TextStandsOutFromWhatItStandsOn)
{
    Theme theme;
    const std::pair<Color, Color> pairs[] = {
        {Color::text, Color::canvas},
        {Color::text, Color::card},
        {Color::text, Color::raised},
        {Color::text, Color::hover},
        {Color::text, Color::selected},
        {Color::text2, Color::canvas},
        {Color::text2, Color::card},
        {Color::text2, Color::raised},
        {Color::muted, Color::canvas},
        {Color::muted, Color::card},
        {Color::blue, Color::card},
        {Color::green, Color::card},
        {Color::amber, Color::card},
        {Color::red, Color::card},
        {Color::violet, Color::card},
        {Color::onBlue, Color::blueFill},
        {Color::onBlue, Color::blueFillHover},
        {Color::onRed, Color::redFill},
    };
    for (const Variant variant : {Variant::dark, Variant::light}) {
        theme.setVariant(variant);

        for (const auto &[upon, ground] : pairs) {
            EXPECT_GE(contrast(theme.color(upon), theme.color(ground)), 4.5)
                << QMetaEnum::fromType<Color>().valueToKey(static_cast<int>(upon)) << " on "
                << QMetaEnum::fromType<Color>().valueToKey(static_cast<int>(ground));
        }
    }
}

TEST(Theme, FocusAndFieldEdgesStandOutFromWhatTheyStandOn)
{
    Theme theme;
    for (const Variant variant : {Variant::dark, Variant::light}) {
        theme.setVariant(variant);

        for (const Color edge : {Color::focus, Color::inputBorder}) {
            EXPECT_GE(contrast(theme.color(edge), theme.color(Color::card)), 3.0);
            EXPECT_GE(contrast(theme.color(edge), theme.color(Color::canvas)), 3.0);
        }
    }
}

TEST(Theme, CarriesItsFonts)
{
    const Theme theme;

    EXPECT_EQ(QFontInfo(theme.font(TypeStyle::body)).family(), QStringLiteral("Inter"));
    EXPECT_EQ(QFontInfo(theme.font(TypeStyle::h1)).weight(), QFont::DemiBold);
    EXPECT_EQ(QFontInfo(theme.font(TypeStyle::bodyStrong)).weight(), QFont::Medium);
    EXPECT_EQ(QFontInfo(theme.font(TypeStyle::h1)).pixelSize(), 22);
    EXPECT_EQ(QFontInfo(theme.monoFont(TypeStyle::small)).family(), QStringLiteral("JetBrains Mono"));
    EXPECT_TRUE(QFontInfo(theme.monoFont(TypeStyle::small)).fixedPitch());
}

TEST(Theme, ChangesTheWholeApplicationWithItsVariant)
{
    Theme theme;
    theme.applyTo(*qApp);
    const QString dark = qApp->styleSheet();
    QSignalSpy told(&theme, &Theme::themeChanged);

    theme.setVariant(Variant::light);

    EXPECT_EQ(told.count(), 1);
    EXPECT_NE(qApp->styleSheet(), dark);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), theme.color(Color::canvas));
    EXPECT_EQ(QMenu().palette().color(QPalette::Base), theme.color(Color::card));
}

TEST(Theme, TellsNothingWhenNothingChanges)
{
    Theme theme;
    QSignalSpy told(&theme, &Theme::themeChanged);

    theme.setVariant(Variant::dark);
    theme.setReducedMotion(false);

    EXPECT_EQ(told.count(), 0);
    theme.setReducedMotion(true);
    EXPECT_EQ(told.count(), 1);
}

TEST(Theme, FillsItsPaletteSoThatNothingStaysLight)
{
    const Theme theme;
    const QPalette palette = theme.palette();

    for (const QPalette::ColorRole role : {QPalette::Window,
                                           QPalette::Base,
                                           QPalette::AlternateBase,
                                           QPalette::Button,
                                           QPalette::ToolTipBase,
                                           QPalette::Dark,
                                           QPalette::Shadow,
                                           QPalette::Light}) {
        EXPECT_LT(luminance(palette.color(role)), 0.05) << role;
    }
}

TEST(Theme, IconsFollowTheVariant)
{
    Theme theme;
    const QIcon icon = theme.icon(u"cloud.fill", Color::text);
    const QImage dark = icon.pixmap(16).toImage();

    theme.setVariant(Variant::light);

    EXPECT_NE(icon.pixmap(16).toImage(), dark);
}

TEST(Theme, AnIconThatOutlivesItPaintsNothing)
{
    QIcon icon;
    {
        const Theme theme;
        icon = theme.icon(u"cloud.fill");
        EXPECT_FALSE(icon.pixmap(16).isNull());
    }

    EXPECT_TRUE(icon.pixmap(16).isNull());
}

} // namespace
} // namespace gateway::shell
