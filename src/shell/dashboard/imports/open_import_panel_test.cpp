#include "shell/dashboard/imports/open_import_panel.h"

#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/dashboard/imports/import_dialog.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTreeView>

#include <gtest/gtest.h>

#include <latch>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

#include <optional>

namespace gateway::shell {
namespace {

class Panel : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QDir(home.path()).mkpath(u"CT/series"_qs);
        for (const char *name : {"CT/one.dcm", "CT/two.dcm", "three.dcm"}) {
            QFile file(home.filePath(QLatin1String(name)));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        }
        ASSERT_TRUE(window.show());
        panel.present(request, [this](const QList<QUrl> &urls) {
            ++confirmations;
            chosen = urls;
        });
        dialog = static_cast<ImportDialog *>(panel.panel());
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog, 30'000));
    }

    static receive::ImportPanelRequest importRequest()
    {
        receive::ImportPanelRequest request;
        request.title = u"Import DICOM Files"_qs;
        request.message = u"Select files and folders to import DICOM files."_qs;
        request.confirmButton = u"Import"_qs;
        return request;
    }

    /// Waits until a folder shows with all its entries.
    void await(const QString &path)
    {
        const auto count = QDir(path).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size();
        awaitThat([&] { return dialog->folder() == path && dialog->files().model()->rowCount() == count; });
    }

    template <typename Condition>
    static void awaitThat(Condition holds)
    {
        while (!holds()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    void show(const QString &path)
    {
        dialog->setFolder(path);
        await(path);
    }

    QModelIndex row(const QString &name) const
    {
        const QAbstractItemModel &model = *dialog->files().model();
        const QModelIndexList found =
            model.match(model.index(0, 0), Qt::DisplayRole, name, 1, Qt::MatchExactly);
        return found.isEmpty() ? QModelIndex() : found.first();
    }

    void select(const QString &name) const
    {
        dialog->files().selectionModel()->select(row(name),
                                                 QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

    QTemporaryDir home;
    testing::ThemedWindow window;
    receive::ImportPanelRequest request = importRequest();
    OpenImportPanel panel{window.theme(), [this] { return &window.window(); }};
    ImportDialog *dialog = nullptr;
    int confirmations = 0;
    QList<QUrl> chosen;
};

TEST_F(Panel, SaysWhatItIsFor)
{
    EXPECT_EQ(dialog->windowTitle(), u"Import DICOM Files"_qs);
    EXPECT_EQ(dialog->confirmButton().text(), u"Import"_qs);
    const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [](const QLabel *label) {
        return label->text() == u"Select files and folders to import DICOM files."_qs;
    }));
    EXPECT_FALSE(dialog->confirmButton().isEnabled());
    EXPECT_EQ(testing::clippedIn(*dialog), QStringList());
}

TEST_F(Panel, HasRoomInEveryLook)
{
    show(home.path());
    std::optional<ImportDialog> other;
    EXPECT_EQ(testing::clippedInEveryLook(u"import"_qs,
                                          {{860, 560}, testing::kLeast},
                                          [&] {
                                              other.reset();
                                              other.emplace(
                                                  window.theme(), request, home.path(), ImportDisk::system());
                                              other->show();
                                              return testing::Opened{*other, window.theme()};
                                          }),
              "");
}

TEST_F(Panel, TakesFilesAndFoldersTogether)
{
    show(home.path());
    select(u"CT"_qs);
    select(u"three.dcm"_qs);
    EXPECT_TRUE(dialog->confirmButton().isEnabled());

    dialog->confirmButton().click();

    EXPECT_EQ(confirmations, 1);
    EXPECT_EQ(QSet<QUrl>(chosen.begin(), chosen.end()),
              (QSet<QUrl>{QUrl::fromLocalFile(home.filePath(u"CT"_qs)),
                          QUrl::fromLocalFile(home.filePath(u"three.dcm"_qs))}));
}

TEST_F(Panel, NothingHappensWhenItIsCancelled)
{
    show(home.path());
    select(u"three.dcm"_qs);

    QTest::keyClick(dialog, Qt::Key_Escape);

    EXPECT_EQ(confirmations, 0);
    EXPECT_EQ(panel.panel(), nullptr);
}

TEST_F(Panel, GoesIntoFoldersAndOutOfThem)
{
    show(home.path());

    Q_EMIT dialog->files().activated(row(u"CT"_qs));
    await(home.filePath(u"CT"_qs));
    EXPECT_TRUE(dialog->chosen().isEmpty());

    QTest::keyClick(dialog, Qt::Key_Backspace);
    await(home.path());
}

TEST_F(Panel, TakesAFileThatIsOpened)
{
    show(home.filePath(u"CT"_qs));
    select(u"one.dcm"_qs);

    Q_EMIT dialog->files().activated(row(u"one.dcm"_qs));

    EXPECT_EQ(chosen, QList<QUrl>{QUrl::fromLocalFile(home.filePath(u"CT/one.dcm"_qs))});
}

TEST_F(Panel, StaysAtTheRoot)
{
    dialog->setFolder(QDir::rootPath());
    awaitThat([this] { return dialog->folder() == QDir::rootPath(); });
    const auto *location = dialog->findChild<ElidedLabel *>();

    QTest::keyClick(dialog, Qt::Key_Backspace);

    EXPECT_EQ(location->text(), QDir::rootPath()) << "nothing may be asked for above it";
    EXPECT_EQ(dialog->folder(), QDir::rootPath());
}

TEST_F(Panel, TakesAllByTheKeyboard)
{
    show(home.path());
    dialog->files().setFocus();
    QTest::keyClick(&dialog->files(), Qt::Key_A, Qt::ControlModifier);

    QTest::keyClick(&dialog->files(), Qt::Key_Return);

    EXPECT_EQ(confirmations, 1);
    EXPECT_EQ(chosen.size(), 2);
}

TEST_F(Panel, TakesAllThatIsSelectedWhereTheKeyboardIsOnAFolder)
{
    show(home.path());
    dialog->files().setFocus();
    dialog->files().setCurrentIndex(row(u"CT"_qs));
    select(u"three.dcm"_qs);

    QTest::keyClick(&dialog->files(), Qt::Key_Return);

    EXPECT_EQ(confirmations, 1);
    EXPECT_EQ(chosen.size(), 2);
}

TEST_F(Panel, HasNamesInTheOrderOfTheirNumbers)
{
    for (const char *name : {"im10.dcm", "im9.dcm", "Im1.dcm"}) {
        QFile file(home.filePath(QLatin1String(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    show(home.path());

    const QAbstractItemModel &model = *dialog->files().model();
    QStringList names;
    for (int each = 0; each < model.rowCount(); ++each) {
        names.append(model.index(each, 0).data().toString());
    }
    EXPECT_EQ(names, (QStringList{u"CT"_qs, u"Im1.dcm"_qs, u"im9.dcm"_qs, u"im10.dcm"_qs, u"three.dcm"_qs}));
}

TEST_F(Panel, SaysWhereNotAllCanBeShown)
{
    const QByteArray name = QFile::encodeName(home.filePath(u"CT"_qs)) + "/M\xfcller.dcm";
    ASSERT_EQ(::mkdir(name.constData(), S_IRWXU), 0);
    const QString sentence =
        u"Not all in %1 can be shown; import the folder itself."_qs.arg(home.filePath(u"CT"_qs));
    const auto saysIt = [&] {
        const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
            return label->isVisible() && label->text() == sentence;
        });
    };
    show(home.path());
    ASSERT_FALSE(saysIt());

    dialog->setFolder(home.filePath(u"CT"_qs));
    awaitThat(saysIt);
    EXPECT_EQ(dialog->files().model()->rowCount(), 3);
    testing::keepPicture(*panel.panel(), u"import-panel-partial-dark"_qs);

    show(home.path());
    EXPECT_FALSE(saysIt());
    EXPECT_EQ(::rmdir(name.constData()), 0);
}

TEST(SystemDisk, TellsAFolderThatCanNotBeReadFromAnEmptyOne)
{
    const QTemporaryDir home;
    const auto read = [&](const QString &name) {
        return ImportDisk::system().read(home.filePath(name), [](const QList<ImportEntry> &) {});
    };
    QDir(home.path()).mkpath(u"empty"_qs);

    EXPECT_TRUE(read(u"empty"_qs));
    EXPECT_FALSE(read(u"away"_qs));
}

TEST_F(Panel, GoesToPlaces)
{
    show(home.path());
    QListWidget &places = dialog->places();
    ASSERT_EQ(places.item(0)->text(), u"Home"_qs);

    Q_EMIT places.itemActivated(places.item(0));

    awaitThat([this] { return dialog->folder() == QDir::homePath(); });
}

TEST_F(Panel, StaysWhereAFolderIsNone)
{
    show(home.path());
    const auto *location = dialog->findChild<ElidedLabel *>();

    dialog->setFolder(home.filePath(u"absent"_qs));
    ASSERT_EQ(location->text(), u"Opening %1/absent…"_qs.arg(home.path()));
    awaitThat([&] { return location->text() == home.path(); });

    EXPECT_EQ(dialog->folder(), home.path());
    EXPECT_EQ(dialog->files().model()->rowCount(), 2);
}

TEST_F(Panel, FollowsLinksAndShowsFoldersFirst)
{
    ASSERT_TRUE(QFile::link(home.filePath(u"CT"_qs), home.filePath(u"a link"_qs)) &&
                QFile::link(home.filePath(u"gone"_qs), home.filePath(u"nowhere"_qs)));

    dialog->setFolder(home.path());
    awaitThat([this] { return dialog->files().model()->rowCount() == 3; });

    const QAbstractItemModel &model = *dialog->files().model();
    EXPECT_EQ(model.index(0, 0).data(), u"a link"_qs);
    EXPECT_EQ(model.index(1, 0).data(), u"CT"_qs);
    EXPECT_EQ(model.index(2, 0).data(), u"three.dcm"_qs);
    Q_EMIT dialog->files().activated(model.index(0, 0));
    await(home.filePath(u"a link"_qs));
}

TEST_F(Panel, GoesOnWhileADiskDoesNotAnswer)
{
    const auto answers = std::make_shared<std::latch>(1);
    const QString share = home.filePath(u"share"_qs);
    ImportDisk disk = ImportDisk::system();
    disk.isFolder = [answers, share](const QString &path) {
        if (path == share || path.endsWith(u"/Documents"_qs)) {
            answers->wait();
        }
        return QFileInfo(path).isDir();
    };
    auto silent = std::make_unique<ImportDialog>(window.theme(), request, share, disk);
    dialog = silent.get();
    EXPECT_EQ(dialog->places().item(0)->text(), u"Home"_qs);
    EXPECT_EQ(dialog->folder(), QString());

    show(home.path());
    EXPECT_EQ(dialog->folder(), home.path());
    dialog->setFolder(share);
    silent.reset(); // waits for nobody
    answers->count_down();
}

TEST_F(Panel, IsRaisedWhereItIsOpenAlready)
{
    panel.present(request, [this](const QList<QUrl> &) { ++confirmations; });

    EXPECT_EQ(panel.panel(), dialog);
    EXPECT_EQ(window.window().findChildren<ImportDialog *>().size(), 1);
}

TEST_F(Panel, BeginsWhereItWasLeft)
{
    show(home.filePath(u"CT"_qs));
    dialog->reject();

    panel.present(request, [](const QList<QUrl> &) {});

    dialog = static_cast<ImportDialog *>(panel.panel());
    await(home.filePath(u"CT"_qs));
}

TEST_F(Panel, ShowsFilesAndFolders)
{
    show(home.path());
    select(u"CT"_qs);
    QCoreApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(*dialog), QStringList());
    testing::keepPicture(*panel.panel(), u"import-panel-dark"_qs);
}

} // namespace
} // namespace gateway::shell
