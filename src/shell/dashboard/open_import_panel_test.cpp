#include "shell/dashboard/open_import_panel.h"

#include "shell/controls/button.h"
#include "shell/dashboard/import_dialog.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtGui/QFileSystemModel>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTreeView>

#include <gtest/gtest.h>

#include <thread>

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

    /// Shows a folder and waits until its entries are there.
    void show(const QString &path)
    {
        dialog->setFolder(path);
        const QTreeView &files = dialog->files();
        while (files.model()->rowCount(files.rootIndex()) <
               static_cast<int>(QDir(path).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size())) {
            QCoreApplication::processEvents();
            std::this_thread::yield();
        }
    }

    QModelIndex row(const QString &name) const
    {
        const auto *model = static_cast<const QFileSystemModel *>(dialog->files().model());
        return model->index(dialog->folder() + u'/' + name);
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
    EXPECT_EQ(dialog->folder(), home.filePath(u"CT"_qs));
    EXPECT_TRUE(dialog->chosen().isEmpty());

    QTest::keyClick(dialog, Qt::Key_Backspace);
    EXPECT_EQ(dialog->folder(), home.path());
}

TEST_F(Panel, TakesAFileThatIsOpened)
{
    show(home.filePath(u"CT"_qs));
    select(u"one.dcm"_qs);

    Q_EMIT dialog->files().activated(row(u"one.dcm"_qs));

    EXPECT_EQ(chosen, QList<QUrl>{QUrl::fromLocalFile(home.filePath(u"CT/one.dcm"_qs))});
}

TEST_F(Panel, GoesToPlaces)
{
    show(home.path());
    QListWidget &places = dialog->places();
    ASSERT_EQ(places.item(0)->text(), u"Home"_qs);

    Q_EMIT places.itemActivated(places.item(0));

    EXPECT_EQ(dialog->folder(), QDir::homePath());
}

TEST_F(Panel, StaysWhereAFolderIsNone)
{
    show(home.path());

    dialog->setFolder(home.filePath(u"absent"_qs));

    EXPECT_EQ(dialog->folder(), home.path());
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

    EXPECT_EQ(static_cast<ImportDialog *>(panel.panel())->folder(), home.filePath(u"CT"_qs));
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
