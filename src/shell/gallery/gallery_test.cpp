#include "shell/gallery/gallery.h"

#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/theme.h"

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTableWidget>

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

/// What one widget with cut words adds to the search of a window in which nothing else is wrong.
template <typename Prepare>
QStringList cutBy(QWidget *widget, const Prepare &prepare)
{
    testing::ThemedWindow window;
    window.add(widget);
    EXPECT_TRUE(window.show());
    EXPECT_EQ(testing::clippedIn(window.window()), QStringList());
    prepare();
    QApplication::processEvents();
    return testing::clippedIn(window.window());
}

TEST(Gallery, TheSearchFindsMoreThanLabels)
{
    auto *field = new QLineEdit;
    field->setPlaceholderText(u"Accession Number"_qs);
    EXPECT_EQ(cutBy(field, [&] { field->setFixedWidth(40); }), QStringList(u"Accession Number"_qs));

    auto *choices = new QComboBox;
    choices->addItem(u"Accession Number"_qs);
    EXPECT_EQ(cutBy(choices, [&] { choices->setFixedWidth(40); }), QStringList(u"Accession Number"_qs));

    auto *table = new QTableWidget(1, 1);
    table->verticalHeader()->hide();
    table->setHorizontalHeaderLabels({u"Accession Number"_qs});
    table->setColumnWidth(0, 300);
    EXPECT_EQ(cutBy(table, [&] { table->setColumnWidth(0, 40); }), QStringList(u"Accession Number"_qs));

    auto *list = new QListWidget;
    list->addItem(u"Accession Number"_qs);
    EXPECT_EQ(cutBy(list, [&] { list->setFixedWidth(40); }), QStringList(u"Accession Number"_qs));
}

TEST(Gallery, TheSearchFindsTextsUponEachOtherAndBeyondTheirRoom)
{
    auto *room = new QWidget;
    room->setFixedSize(400, 100);
    auto *one = new QLabel(u"One"_qs, room);
    auto *other = new QLabel(u"Other"_qs, room);
    one->setGeometry(0, 0, 90, 40);
    other->setGeometry(100, 0, 90, 40);

    const QStringList found = cutBy(room, [&] {
        other->move(80, 0);
        one->move(0, -10);
    });

    EXPECT_EQ(found, (QStringList{u"One, beyond its room"_qs, u"One upon Other"_qs}));
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
