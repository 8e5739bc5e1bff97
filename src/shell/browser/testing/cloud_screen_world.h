#pragma once

#include "shell/browser/cloud_studies_screen.h"
#include "shell/browser/testing/browser_screen_world.h"

namespace gateway::shell::testing {

/// The window over an archive in memory.
///
/// Owner: a test. Thread: main.
struct CloudScreen : BrowserScreenWorld
{
    ~CloudScreen() override { archive.release(); }

    void fill(int count)
    {
        using cloud_client::QrnDicomTag;
        constexpr const char *kNames[] = {
            "Brandt^Helene", "Okafor^Chidi", "Yamada^Tarou", "Lindqvist^Sven", "Moreau^Claire"};
        constexpr const char *kKinds[] = {"CT", "MR", "US", "DX", "CT, PT"};
        constexpr const char *kWords[] = {
            "Head without contrast", "Knee left", "Abdomen", "Chest pa", "Whole body"};
        for (int number = 0; number < count; ++number) {
            const int each = number % 5;
            archive.addStudy(
                QStringLiteral("1.2.826.0.1.3680043.10.%1").arg(100 + number),
                {{QrnDicomTag::PatientName, QString::fromLatin1(kNames[each])},
                 {QrnDicomTag::PatientID, QStringLiteral("PID-%1").arg(7000 + number)},
                 {QrnDicomTag::StudyDescription, QString::fromLatin1(kWords[each])},
                 {QrnDicomTag::ModalitiesInStudy, QString::fromLatin1(kKinds[each])},
                 {QrnDicomTag::AccessionNumber, QStringLiteral("A26-%1").arg(1000 + number)},
                 {QrnDicomTag::StudyDate,
                  QStringLiteral("202601%1").arg(1 + number % 28, 2, 10, QChar(u'0'))},
                 {QrnDicomTag::StudyTime, QStringLiteral("0830%1").arg(number % 60, 2, 10, QChar(u'0'))},
                 {QrnDicomTag::NumberOfStudyRelatedInstances, 120 + 411 * each}});
        }
    }

    void openSignedIn()
    {
        signIn();
        open(controller);
    }

    void query()
    {
        press(window(), QStringLiteral("Query"));
        runUntil([&] { return screen().table().lastUpdatedAt() && !screen().table().isLoading(); });
    }

    /// Three studies whose deletion waits at the archive's door.
    void beginToDeleteThree()
    {
        fill(3);
        openSignedIn();
        query();
        archive.hold(QStringLiteral("delete"));
        QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
        screen().table().askToDelete();
        sayYes(window());
    }

    QWidget &window() { return *controller.window(); }
    CloudStudiesScreen &screen() { return *controller.screen(); }
    BrowserTableView &view() { return screen().panel().view(); }

    TextField &field(const QString &name)
    {
        for (auto *each : window().findChildren<TextField *>()) {
            if (each->accessibleName() == name) {
                return *each;
            }
        }
        qFatal("no such field");
    }

    void clickCell(int row, int column, Qt::KeyboardModifiers modifiers = {})
    {
        const QRect place = view().visualRect(view().model()->index(row, column));
        QTest::mouseClick(view().viewport(), Qt::LeftButton, modifiers, place.center());
    }

    QuorinCloudStudiesWindowController controller{parts(), cloudDoor()};
};

} // namespace gateway::shell::testing
