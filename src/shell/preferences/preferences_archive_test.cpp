#include "shell/controls/combo_box.h"
#include "shell/language/translations.h"
#include "shell/preferences/testing/preferences_world.h"

#include <QtWidgets/QScrollArea>

namespace gateway::shell {
namespace {

struct PreferencesAtAnArchive : testing::PreferencesWorld
{
    PreferencesAtAnArchive()
    {
        archive.emplace(*this);
        hasProfile = false;
        cloudChoice.configuration.kind = cloud_client::CloudKind::dicomweb;
        cloudChoice.configuration.baseUrl = QUrl(QStringLiteral("https://archive.example/dicom-web"));
    }

    ~PreferencesAtAnArchive() override { controller.reset(); }

    void expectAllShown(const char *about)
    {
        EXPECT_EQ(testing::clippedIn(window()), QStringList()) << about;
        const auto *page = testing::shownOf<QScrollArea>(
            window(), [](const QScrollArea &one) { return one.widget() != nullptr; });
        ASSERT_NE(page, nullptr);
        EXPECT_LE(page->widget()->minimumSizeHint().width(), page->viewport()->width()) << about;
    }

    /// Every way of signing in, one after the other.
    void lookThrough(const char *about)
    {
        auto *ways = testing::shownOf<ComboBox>(window(), [](const ComboBox &) { return true; });
        ASSERT_NE(ways, nullptr);
        ASSERT_EQ(ways->count(), 7);
        for (int way = 0; way < ways->count(); ++way) {
            ways->setCurrentIndex(way);
            Q_EMIT ways->activated(way);
            settle();
            expectAllShown(about);
        }
    }
};

TEST_F(PreferencesAtAnArchive, ShowEveryWayWholeInEitherLanguageAndTheSmallestWindow)
{
    finish(auth.refresh(false));
    for (const bool isGerman : {false, true}) {
        std::optional<Translations> german;
        if (isGerman) {
            german.emplace(QLocale(QLocale::German));
        }
        controller.reset();
        open();
        lookThrough(isGerman ? "German" : "English");
        window().resize(window().minimumSize());
        settle();
        lookThrough(isGerman ? "German, smallest" : "English, smallest");
        picture(QStringLiteral("archive-smallest-%1").arg(isGerman));
    }
}

} // namespace
} // namespace gateway::shell
