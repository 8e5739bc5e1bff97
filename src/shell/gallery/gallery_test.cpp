#include "shell/gallery/gallery.h"

#include "shell/testing/screen_checks.h"
#include "shell/theme/theme.h"

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

/// The gallery, shown without motion and laid out at the size of its pictures.
class ShownGallery
{
public:
    ShownGallery()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        gallery = std::make_unique<Gallery>(theme);
        gallery->show();
        layOut();
    }

    void layOut() const
    {
        QApplication::processEvents();
        gallery->resize(gallery->page().minimumSizeHint().width() + 40, 900);
        QApplication::processEvents();
    }

    Theme theme;
    std::unique_ptr<Gallery> gallery;
};

TEST(Gallery, ClipsNoWords)
{
    const ShownGallery shown;

    EXPECT_EQ(testing::clippedIn(shown.gallery->page()), QStringList());
}

TEST(Gallery, ClipsNoWordsThatAreFortyPercentLonger)
{
    const ShownGallery shown;
    QWidget &page = shown.gallery->page();
    for (QLabel *label : page.findChildren<QLabel *>()) {
        label->setText(testing::lengthened(label->text()));
    }
    for (QAbstractButton *button : page.findChildren<QAbstractButton *>()) {
        if (!button->text().isEmpty()) {
            button->setText(testing::lengthened(button->text()));
        }
    }

    shown.layOut();

    EXPECT_EQ(testing::clippedIn(page), QStringList());
}

TEST(Gallery, TheSearchForClippedWordsFindsThem)
{
    const ShownGallery shown;
    auto *label = shown.gallery->page().findChild<QLabel *>();
    ASSERT_NE(label, nullptr);

    label->setFixedWidth(10);
    QApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(shown.gallery->page()), QStringList(label->text()));
}

TEST(Gallery, IsDarkOrLightAllOver)
{
    ShownGallery shown;
    const auto brightness = [&shown] {
        const QImage small =
            pictureOf(shown.gallery->page(), 1).scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        return small.pixelColor(0, 0).lightnessF();
    };

    EXPECT_LT(brightness(), 0.2F);
    shown.theme.setVariant(Variant::light);
    QApplication::processEvents();

    EXPECT_GT(brightness(), 0.85F);
}

TEST(Gallery, IsCrispAtTwoPixelsAPixel)
{
    const ShownGallery shown;

    const QImage picture = pictureOf(shown.gallery->page(), 2);

    EXPECT_EQ(picture.size(), shown.gallery->page().size() * 2);
    EXPECT_NE(picture, pictureOf(shown.gallery->page(), 1).scaled(picture.size()));
}

} // namespace
} // namespace gateway::shell
