#include "platform/defaults/user_defaults.h"

#include "platform/sqlite/database.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <cmath>
#include <csignal>
#include <limits>
#include <thread>
#include <vector>

namespace gateway::platform {

namespace {

const QString kKey = QStringLiteral("key");

class Defaults : public ::testing::Test
{
protected:
    QString path() const { return m_home.filePath(QStringLiteral("config/defaults.sqlite")); }
    QString file(const QString &name) const { return m_home.filePath(name); }

private:
    QTemporaryDir m_home;
};

QString openingError(const QString &path)
{
    try {
        const UserDefaults defaults(path);
        return {};
    } catch (const DefaultsError &error) {
        return error.message();
    }
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

/// A disk without room, as far as this process can tell.
class NoRoom
{
public:
    NoRoom() : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }

    ~NoRoom()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        static_cast<void>(std::signal(SIGXFSZ, m_handler));
    }

    NoRoom(const NoRoom &) = delete;
    NoRoom &operator=(const NoRoom &) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

} // namespace

TEST_F(Defaults, EveryTypeComesBackAsItWasStoredAlsoAfterAReopening)
{
    const QDateTime date(QDate(2026, 2, 28), QTime(23, 59, 58, 123), Qt::UTC);
    const std::vector<QVariant> values{
        QStringLiteral("text with \"quotes\", ünïcode and a \n"),
        QString(u'\0') + u'x',
        QString(),
        std::numeric_limits<qlonglong>::min(),
        std::numeric_limits<qlonglong>::max(),
        true,
        false,
        0.1,
        -std::numeric_limits<double>::infinity(),
        QByteArray("bytes\0with\xff nulls", 17),
        QByteArray(),
        date,
        QDateTime(QDate(1899, 1, 1), QTime(0, 0, 0, 1), Qt::UTC),
    };
    {
        UserDefaults defaults(path());
        for (std::size_t i = 0; i < values.size(); ++i) {
            ASSERT_TRUE(defaults.setObject(QString::number(i), values[i])) << i;
        }
    }

    const UserDefaults defaults(path());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto value = defaults.object(QString::number(i));
        ASSERT_TRUE(value) << i;
        EXPECT_EQ(value->typeId(), values[i].typeId()) << i;
        EXPECT_EQ(*value, values[i]) << i;
    }
}

TEST_F(Defaults, ALocalDateComesBackAsTheSameMomentInUtc)
{
    UserDefaults defaults(path());
    const QDateTime local(QDate(2026, 7, 1), QTime(12, 0, 0, 7), Qt::OffsetFromUTC, 7200);

    defaults.setObject(kKey, local);
    const QDateTime stored = defaults.object(kKey).value_or(QVariant()).toDateTime();

    EXPECT_EQ(stored.timeSpec(), Qt::UTC);
    EXPECT_EQ(stored.toMSecsSinceEpoch(), local.toMSecsSinceEpoch());
}

TEST_F(Defaults, AnIntegerOfAnyWidthComesBackAsALongOne)
{
    UserDefaults defaults(path());

    EXPECT_TRUE(defaults.setObject(kKey, 7));
    EXPECT_EQ(defaults.object(kKey)->typeId(), QMetaType::LongLong);
    EXPECT_FALSE(defaults.setObject(kKey, std::numeric_limits<qulonglong>::max()));
    EXPECT_EQ(defaults.object(kKey)->toInt(), 7);
}

TEST_F(Defaults, AValueWithoutAStoredFormIsRefusedAndTheOldOneStands)
{
    UserDefaults defaults(path());
    defaults.setObject(kKey, QStringLiteral("old"));

    EXPECT_FALSE(defaults.setObject(kKey, QStringList{QStringLiteral("a")}));
    EXPECT_FALSE(defaults.setObject(kKey, std::nan("")));
    EXPECT_FALSE(defaults.setObject(kKey, QDateTime()));
    EXPECT_EQ(defaults.object(kKey), QVariant(QStringLiteral("old")));
}

TEST_F(Defaults, ARemovedKeyAndAnInvalidValueAreAbsent)
{
    UserDefaults defaults(path());
    defaults.setObject(kKey, 1);
    defaults.setObject(QStringLiteral("other"), 2);

    EXPECT_TRUE(defaults.setObject(kKey, QVariant()));
    EXPECT_TRUE(defaults.removeObject(QStringLiteral("missing")));

    EXPECT_FALSE(defaults.object(kKey));
    EXPECT_EQ(defaults.keys(), QStringList{QStringLiteral("other")});
}

TEST_F(Defaults, KeysAreListedInOrder)
{
    UserDefaults defaults(path());
    for (const QString &key : {QStringLiteral("c"), QStringLiteral("a"), QStringLiteral("b")}) {
        defaults.setObject(key, true);
    }

    EXPECT_EQ(defaults.keys(), QStringLiteral("a b c").split(u' '));
}

TEST_F(Defaults, SettingIfMissingKeepsAValueButNotAnEmptyText)
{
    UserDefaults defaults(path());

    EXPECT_EQ(defaults.setObjectIfMissing(kKey, QStringLiteral("first")), QVariant(QStringLiteral("first")));
    EXPECT_EQ(defaults.setObjectIfMissing(kKey, QStringLiteral("second")), QVariant(QStringLiteral("first")));
    defaults.setObject(kKey, QString());
    EXPECT_EQ(defaults.setObjectIfMissing(kKey, QStringLiteral("third")), QVariant(QStringLiteral("third")));
    EXPECT_EQ(defaults.object(kKey), QVariant(QStringLiteral("third")));
}

TEST_F(Defaults, TheFileIsItsOwnersAlone)
{
    const mode_t before = ::umask(0);
    UserDefaults defaults(path());
    defaults.setObject(kKey, 1);
    ::umask(before);

    for (const QString &suffix : {QString(), QStringLiteral("-wal")}) {
        struct stat status{};
        ASSERT_EQ(::stat(QFile::encodeName(path() + suffix).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << suffix.toStdString();
    }
}

TEST_F(Defaults, ADiskWithoutRoomLeavesTheOldValueAndSaysSo)
{
    UserDefaults defaults(path());
    ASSERT_TRUE(defaults.setObject(kKey, QStringLiteral("old")));
    {
        const NoRoom noRoom;
        EXPECT_FALSE(defaults.setObject(kKey, QStringLiteral("new")));
        EXPECT_FALSE(defaults.removeObject(kKey));
        EXPECT_EQ(defaults.setObjectIfMissing(QStringLiteral("other"), 5), QVariant(5));
    }

    EXPECT_EQ(defaults.object(kKey), QVariant(QStringLiteral("old")));
    EXPECT_FALSE(defaults.object(QStringLiteral("other")));
    EXPECT_TRUE(defaults.setObject(kKey, QStringLiteral("new")));
}

TEST_F(Defaults, AFileThatIsNoDatabaseIsReportedInOneSentenceAndLeftAsItIs)
{
    const QByteArray bytes(4096, 'x');
    write(file(QStringLiteral("d")), bytes);

    EXPECT_EQ(
        openingError(file(QStringLiteral("d"))),
        QStringLiteral("The settings file \"%1\" is damaged; move it away to start with fresh settings.")
            .arg(file(QStringLiteral("d"))));
    EXPECT_EQ(read(file(QStringLiteral("d"))), bytes);
}

TEST_F(Defaults, ADatabaseOfSomebodyElseIsReportedAndLeftAsItIs)
{
    {
        Database foreign = Database::open(file(QStringLiteral("d")), Database::Access::readWrite);
        foreign.exec("CREATE TABLE images(id INTEGER)");
    }
    const QByteArray bytes = read(file(QStringLiteral("d")));

    EXPECT_EQ(
        openingError(file(QStringLiteral("d"))),
        QStringLiteral("The settings file \"%1\" is not a settings file.").arg(file(QStringLiteral("d"))));
    EXPECT_EQ(read(file(QStringLiteral("d"))), bytes);
}

TEST_F(Defaults, AFileOfANewerVersionIsReportedAndLeftAsItIs)
{
    {
        UserDefaults(file(QStringLiteral("d"))).setObject(kKey, 1);
        Database newer = Database::open(file(QStringLiteral("d")), Database::Access::readWrite);
        newer.exec("PRAGMA user_version = 2");
    }
    const QByteArray bytes = read(file(QStringLiteral("d")));

    EXPECT_TRUE(openingError(file(QStringLiteral("d")))
                    .endsWith(QStringLiteral("was written by a newer version of the program.")));
    EXPECT_EQ(read(file(QStringLiteral("d"))), bytes);
}

TEST_F(Defaults, ATornPageIsReportedAndTheFileLeftAsItIs)
{
    {
        UserDefaults defaults(file(QStringLiteral("d")));
        for (int i = 0; i < 300; ++i) {
            defaults.setObject(QStringLiteral("some longer key %1").arg(i), QByteArray(100, 'v'));
        }
    }
    QByteArray bytes = read(file(QStringLiteral("d")));
    ASSERT_GT(bytes.size(), 3 * 4096);
    bytes.replace(4096, bytes.size() - 4096, QByteArray(bytes.size() - 4096, '\x7f'));
    write(file(QStringLiteral("d")), bytes);

    EXPECT_TRUE(openingError(file(QStringLiteral("d"))).contains(QStringLiteral("is damaged")));
    EXPECT_EQ(read(file(QStringLiteral("d"))), bytes);
}

TEST_F(Defaults, AnEmptyFileIsAFreshOne)
{
    write(file(QStringLiteral("d")), {});

    UserDefaults defaults(file(QStringLiteral("d")));

    EXPECT_TRUE(defaults.setObject(kKey, 1));
}

TEST_F(Defaults, AFileThatCannotBeReadForAWhileChangesNoValue)
{
    UserDefaults defaults(path());
    defaults.setObject(kKey, 11112);
    UserDefaults reader(path()); // which never asked for the key while it could be read
    const auto run = [this](const char *sql) {
        Database::open(path(), Database::Access::readWrite).exec(sql);
    };

    run("ALTER TABLE defaults RENAME TO away");
    EXPECT_EQ(defaults.object(kKey), QVariant(11112));
    EXPECT_EQ(reader.object(kKey), QVariant(11112));
    EXPECT_EQ(reader.setObjectIfMissing(kKey, 1), QVariant(11112));
    EXPECT_EQ(reader.keys(), QStringList{kKey});
    EXPECT_FALSE(reader.setObject(kKey, 2));
    EXPECT_EQ(reader.object(kKey), QVariant(11112));

    run("ALTER TABLE away RENAME TO defaults");
    EXPECT_TRUE(reader.setObject(kKey, 3));
    EXPECT_EQ(defaults.object(kKey), QVariant(3));
}

TEST_F(Defaults, AFileThatCannotBeReadAtTheStartIsReported)
{
    {
        UserDefaults defaults(path());
        defaults.setObject(kKey, 1);
    }
    Database::open(path(), Database::Access::readWrite).exec("ALTER TABLE defaults RENAME TO away");

    EXPECT_TRUE(openingError(path()).contains(QStringLiteral("can't be opened")));
}

TEST_F(Defaults, AnImpossiblePlaceIsReportedInOneSentence)
{
    write(file(QStringLiteral("d")), "a file where a folder should be");

    EXPECT_TRUE(openingError(file(QStringLiteral("d/defaults.sqlite")))
                    .contains(QStringLiteral("can't be made: Could not make a folder")));
}

TEST_F(Defaults, ManyThreadsReadAndWriteAtOnce)
{
    UserDefaults defaults(path());
    std::vector<std::thread> threads;
    threads.reserve(4);

    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&defaults, t] {
            for (int i = 0; i < 25; ++i) {
                const QString key = QStringLiteral("%1/%2").arg(t).arg(i);
                defaults.setObject(key, i);
                EXPECT_EQ(defaults.object(key), QVariant(static_cast<qlonglong>(i)));
                defaults.setObjectIfMissing(kKey, key);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(defaults.keys().size(), 101);
}

} // namespace gateway::platform
