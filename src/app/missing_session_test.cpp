#include "app/missing_session.h"

#include "account/testing/session_world.h"

#include <QtCore/QStringList>

namespace gateway::app {

namespace {

class RecordingSystemLog final : public platform::SystemLog
{
public:
    void write(platform::SystemLogLevel /*level*/,
               QString /*subsystem*/,
               QString /*category*/,
               QString message) override
    {
        messages.append(message);
    }

    bool enabled(platform::SystemLogLevel /*level*/) const override { return true; }

    QStringList messages;
};

struct MissingSessionTest : account::testing::SessionWorld
{
    void endSession()
    {
        signIn();
        service.endedToken = settings.token();
        finish(auth.refresh(true));
    }

    RecordingSystemLog systemLog;
    QStringList lines;
    bool doImagesWait = true;
    MissingSession notice{{.notifications = notifications,
                           .auth = auth,
                           .systemLog = systemLog,
                           .areImagesWaiting = [this] { return doImagesWait; },
                           .writeLine = [this](const QString &line) { lines.append(line); }}};
};

} // namespace

TEST_F(MissingSessionTest, IsToldOnceToOperatorAndSystemLog)
{
    endSession();
    finish(auth.refresh(true));

    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().startsWith(u"Images wait, and there is no session: the cloud ended it at"_qs));
    EXPECT_EQ(systemLog.messages, lines);
    EXPECT_EQ(notice.sentence(), lines.first());
}

TEST_F(MissingSessionTest, IsNothingToTellWhileNoImageWaits)
{
    doImagesWait = false;
    endSession();
    EXPECT_EQ(lines, QStringList());

    doImagesWait = true;
    finish(auth.refresh(true));
    EXPECT_EQ(lines.size(), 1);
}

TEST_F(MissingSessionTest, IsNoneWhereAPersonSignedOut)
{
    signIn();
    finish(auth.signOut());

    EXPECT_EQ(notice.sentence(), QString());
    EXPECT_EQ(lines, QStringList());
}

} // namespace gateway::app
