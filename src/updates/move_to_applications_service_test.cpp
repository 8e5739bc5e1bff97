#include "updates/move_to_applications_service.h"

#include "updates/testing/updates_world.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <thread>

namespace gateway::updates::testing {

namespace {

struct MoveToApplications : UpdatesWorld
{
    MoveToApplications() { QDir(folder.path()).mkpath(u"home/Downloads"_qs); }

    QString home() const { return folder.filePath(u"home"_qs); }
    QString applications() const { return home() + u"/Applications"_qs; }

    static void write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing there");
    }

    MoveToApplicationsService &service(const QString &bundle, bool isUnderTest = false)
    {
        made = std::make_unique<MoveToApplicationsService>(
            MoveToApplicationsService::Collaborators{.alerts = person,
                                                     .main = main,
                                                     .pool = pool,
                                                     .open =
                                                         [this](const QString &path) {
                                                             opened.append(path);
                                                             return canOpen;
                                                         }},
            MoveToApplicationsService::Place{
                .bundle = bundle, .homeFolder = home(), .isUnderTest = isUnderTest});
        return *made;
    }

    bool isOfferedFor(const QString &bundle, bool isUnderTest = false)
    {
        const std::size_t before = person.shown.size();
        service(bundle, isUnderTest).checkInstallLocation();
        return person.shown.size() > before;
    }

    /// A program in the folder of downloads, for which the person wants the move.
    void move()
    {
        write(program, "a program");
        QFile::setPermissions(program, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        service(program).checkInstallLocation();
        person.answer(true);
        pool.waitUntilIdle();
        main.drain();
    }

    QString program = home() + u"/Downloads/Ann's Gateway.AppImage"_qs;
    QStringList opened;
    bool canOpen = true;
    std::unique_ptr<MoveToApplicationsService> made;
};

} // namespace

TEST_F(MoveToApplications, IsOfferedToAProgramElsewhere)
{
    EXPECT_TRUE(isOfferedFor(program));
    EXPECT_EQ(
        person.shown.front(),
        (Alert{.style = Alert::Style::warning,
               .title = u"Move Quorin Gateway to Applications?"_qs,
               .message = u"Quorin Gateway is currently running outside the Applications folder. Move it now "
                          u"so it can update and run reliably."_qs,
               .accept = u"Move"_qs,
               .dismiss = u"Not Now"_qs}));
    EXPECT_TRUE(isOfferedFor(home() + u"/ApplicationsOfMine/gateway.AppImage"_qs));
    EXPECT_TRUE(isOfferedFor(u"/Applications2/gateway.AppImage"_qs));
}

TEST_F(MoveToApplications, IsNotOfferedToAProgramInItsPlace)
{
    EXPECT_FALSE(isOfferedFor(u"/Applications/gateway.AppImage"_qs));
    EXPECT_FALSE(isOfferedFor(u"/Applications/Imaging/gateway.AppImage"_qs));
    EXPECT_FALSE(isOfferedFor(u"/Applications"_qs));
    EXPECT_FALSE(isOfferedFor(applications() + u"/gateway.AppImage"_qs));
    EXPECT_FALSE(isOfferedFor(applications() + u"/Imaging/gateway.AppImage"_qs));
    EXPECT_FALSE(isOfferedFor(applications()));
}

TEST_F(MoveToApplications, IsNotOfferedToAnInstalledProgramOrUnderTest)
{
    EXPECT_FALSE(isOfferedFor({}));
    EXPECT_FALSE(isOfferedFor(program, true));
}

TEST_F(MoveToApplications, IsOfferedOnceInARun)
{
    service(program).checkInstallLocation();
    person.answer(false);
    made->checkInstallLocation();

    EXPECT_EQ(person.shown.size(), 1U);
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_FALSE(QFile::exists(applications()));
}

TEST_F(MoveToApplications, MayBeCheckedFromAnyThread)
{
    service(program);

    std::thread([this] { made->checkInstallLocation(); }).join();
    EXPECT_TRUE(person.shown.empty());
    main.drain();

    EXPECT_EQ(person.shown.size(), 1U);
}

TEST_F(MoveToApplications, CopiesTheProgramAndStartsTheCopy)
{
    move();

    const QString copy = applications() + u"/Ann's Gateway.AppImage"_qs;
    EXPECT_EQ(read(copy), "a program");
    EXPECT_TRUE(QFile::permissions(copy) & QFileDevice::ExeOwner);
    EXPECT_EQ(opened, QStringList{copy});
    EXPECT_EQ(read(program), "a program");
    EXPECT_EQ(QDir(applications()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    EXPECT_EQ(person.shown.size(), 1U);
}

TEST_F(MoveToApplications, ReplacesWhatStandsThere)
{
    QDir(home()).mkpath(applications());
    write(applications() + u"/Ann's Gateway.AppImage"_qs, "an older program");
    write(applications() + u"/Ann's Gateway.AppImage.part"_qs, "a broken copy");

    move();

    EXPECT_EQ(read(applications() + u"/Ann's Gateway.AppImage"_qs), "a program");
    EXPECT_EQ(QDir(applications()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST_F(MoveToApplications, SaysWhyItFailedAndGoesOn)
{
    write(applications(), "a file where the folder should be");

    move();

    ASSERT_EQ(person.shown.size(), 2U);
    const Alert &failure = person.shown.back();
    EXPECT_EQ(failure.title, u"Couldn’t Move Quorin Gateway"_qs);
    EXPECT_TRUE(failure.message.startsWith(
        u"Please move Quorin Gateway to Applications manually.\n\nError: Could not "_qs))
        << failure.message.toStdString();
    EXPECT_EQ(failure.accept, u"OK"_qs);
    EXPECT_TRUE(failure.dismiss.isEmpty());
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(read(program), "a program");
}

TEST_F(MoveToApplications, SaysThatTheCopyDoesNotStart)
{
    canOpen = false;

    move();

    ASSERT_EQ(person.shown.size(), 2U);
    EXPECT_TRUE(person.shown.back().message.contains(u"can't be started"_qs));
}

} // namespace gateway::updates::testing
