#include "receive/source_file.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace gateway::receive {
namespace {

class Source : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QFile file(QString::fromLocal8Bit(m_file));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(m_content), m_content.size());
    }

    QTemporaryDir m_home;
    const QByteArray m_file = m_home.filePath(QStringLiteral("source")).toLocal8Bit();
    const QString m_copy = m_home.filePath(QStringLiteral("copy"));
    const QByteArray m_content = QByteArray(3'000'000, 'x') + "end";
    std::stop_source m_stop;
};

TEST_F(Source, IsReadAndCopiedWhole)
{
    EXPECT_EQ(readThrough(m_file, m_stop.get_token()), SourceOutcome::done);
    EXPECT_EQ(copySource(m_file, m_copy, m_stop.get_token()), SourceOutcome::done);

    QFile copy(m_copy);
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), m_content);
}

TEST_F(Source, ThatIsMissingOrAFolderOrAPipeIsToldApartWithoutWaiting)
{
    const QByteArray pipe = m_home.filePath(QStringLiteral("pipe")).toLocal8Bit();
    ASSERT_EQ(::mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);

    EXPECT_EQ(readThrough(m_file + "missing", m_stop.get_token()), SourceOutcome::unreadable);
    EXPECT_EQ(readThrough(pipe, m_stop.get_token()), SourceOutcome::special);
    EXPECT_EQ(copySource(pipe, m_copy, m_stop.get_token()), SourceOutcome::special);
    EXPECT_EQ(readThrough(m_home.path().toLocal8Bit(), m_stop.get_token()), SourceOutcome::special);
}

TEST_F(Source, IsNeverCopiedOverAFile)
{
    EXPECT_EQ(copySource(m_file, QString::fromLocal8Bit(m_file), m_stop.get_token()),
              SourceOutcome::noStorage);
    EXPECT_EQ(copySource(m_file, QStringLiteral("/missing/folder/copy"), m_stop.get_token()),
              SourceOutcome::noStorage);
    EXPECT_EQ(QFile(QString::fromLocal8Bit(m_file)).size(), m_content.size());
}

TEST_F(Source, IsLeftInTheMiddleOnAStop)
{
    m_stop.request_stop();

    EXPECT_EQ(readThrough(m_file, m_stop.get_token()), SourceOutcome::stopped);
    EXPECT_EQ(copySource(m_file, m_copy, m_stop.get_token()), SourceOutcome::stopped);
}

} // namespace
} // namespace gateway::receive
