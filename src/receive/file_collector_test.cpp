#include "receive/file_collector.h"

#include "receive/testing/barred_folder.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <climits>

#include <sys/stat.h>
#include <unistd.h>

namespace gateway::receive {
namespace {

class Collector : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_home.filePath(name); }

    void put(const QString &name, const QByteArray &content = "x") const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    /// What is found, by names below the home.
    QStringList collect(const QString &name)
    {
        const Collected found =
            m_collector.collect(QFile::encodeName(path(name)), m_stop.get_token(), m_pulse);
        QStringList names;
        for (const CollectedFile &file : found.files) {
            names.append(nameOf(file.path));
        }
        m_unlisted.clear();
        for (const QByteArray &folder : found.unlisted) {
            m_unlisted.append(nameOf(folder));
        }
        return names;
    }

    QString nameOf(const QByteArray &found) const
    {
        return QDir(m_home.path()).relativeFilePath(QFile::decodeName(found));
    }

    QTemporaryDir m_home;
    QStringList m_unlisted; ///< by the last `collect`
    std::stop_source m_stop;
    Pulse m_pulse{0};
    FileCollector m_collector{{m_home.filePath(QStringLiteral("own"))}};
};

TEST_F(Collector, FindsHiddenFilesToo)
{
    put(u"s/a"_qs);
    put(u"s/.b"_qs);
    put(u"s/.d/c"_qs);

    EXPECT_EQ(collect(u"s"_qs), (QStringList{u"s/.b"_qs, u"s/.d/c"_qs, u"s/a"_qs}));
}

TEST_F(Collector, GivesAFileOnceWhicheverWayItIsReached)
{
    put(u"s/a"_qs);
    QFile::link(path(u"s/a"_qs), path(u"s/link"_qs));
    QFile::link(path(u"s"_qs), path(u"other"_qs));

    EXPECT_EQ(collect(u"s/a"_qs), QStringList{u"s/a"_qs});
    EXPECT_EQ(collect(u"s"_qs), QStringList());
    EXPECT_EQ(collect(u"other"_qs), QStringList());
    EXPECT_EQ(collect(u"s/../s/./a"_qs), QStringList());
}

TEST_F(Collector, EndsInACircleOfLinks)
{
    put(u"s/a"_qs);
    QFile::link(path(u"s"_qs), path(u"s/self"_qs));
    QFile::link(path(u"."_qs), path(u"s/parent"_qs));
    ASSERT_EQ(::symlink("knot", QFile::encodeName(path(u"s/knot"_qs)).constData()), 0);

    const QStringList found = collect(u"s"_qs);

    EXPECT_EQ(found, (QStringList{u"s/a"_qs, u"s/knot"_qs}));
}

TEST_F(Collector, TakesAFolderThatCanNotBeListedForAnEmptyOneAndSaysSo)
{
    put(u"a"_qs);
    put(u"s/b"_qs);
    {
        const testing::BarredFolder barred(path(u"s"_qs));
        EXPECT_EQ(collect(u"."_qs), QStringList{u"a"_qs});
    }
    EXPECT_EQ(m_unlisted, QStringList{u"s"_qs});

    put(u"t/c"_qs);
    EXPECT_EQ(collect(u"t"_qs), QStringList{u"t/c"_qs});
    EXPECT_EQ(m_unlisted, QStringList());
}

TEST_F(Collector, TakesWhatIsNotThereForAFile)
{
    EXPECT_EQ(collect(u"missing"_qs), QStringList{u"missing"_qs});
    EXPECT_EQ(collect(u"missing"_qs), QStringList());
}

TEST_F(Collector, PassesOverTheGatewaysOwnFolderWhenItIsMetOnTheWay)
{
    put(u"own/a"_qs);
    put(u"b"_qs);
    QFile::link(path(u"own"_qs), path(u"link"_qs));

    EXPECT_EQ(collect(u"."_qs), QStringList{u"b"_qs});
    EXPECT_EQ(collect(u"own"_qs), QStringList{u"own/a"_qs});
}

TEST_F(Collector, EndsOnAStop)
{
    put(u"s/a"_qs);
    m_stop.request_stop();

    EXPECT_EQ(collect(u"s"_qs), QStringList());
}

TEST_F(Collector, GoesAsDeepAsAPathMayBe)
{
    QByteArray deep = QFile::encodeName(path(u"s"_qs));
    ASSERT_EQ(::mkdir(deep.constData(), 0700), 0);
    const QByteArray name(200, 'd');
    while (deep.size() + name.size() + 1 < PATH_MAX - 1) {
        deep += '/' + name;
        ASSERT_EQ(::mkdir(deep.constData(), 0700), 0);
    }

    EXPECT_EQ(collect(u"s"_qs), QStringList());
}

} // namespace
} // namespace gateway::receive
