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
    Pulse m_pulse{0};
};

TEST_F(Source, IsCopiedWholeAndTellsThatItGoesOn)
{
    EXPECT_EQ(copySource(m_file, m_copy, m_stop.get_token(), m_pulse), SourceOutcome::done);

    QFile copy(m_copy);
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), m_content);
    EXPECT_GE(m_pulse, 3U);
}

TEST_F(Source, ThatIsMissingOrAFolderOrAPipeIsToldApartWithoutWaiting)
{
    const QByteArray pipe = m_home.filePath(QStringLiteral("pipe")).toLocal8Bit();
    ASSERT_EQ(::mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);

    EXPECT_EQ(copySource(m_file + "missing", m_copy, m_stop.get_token(), m_pulse), SourceOutcome::unreadable);
    EXPECT_EQ(copySource(m_home.path().toLocal8Bit(), m_copy, m_stop.get_token(), m_pulse),
              SourceOutcome::special);
    EXPECT_EQ(copySource(pipe, m_copy, m_stop.get_token(), m_pulse), SourceOutcome::special);
}

TEST_F(Source, IsNeverCopiedOverAFile)
{
    EXPECT_EQ(copySource(m_file, QString::fromLocal8Bit(m_file), m_stop.get_token(), m_pulse),
              SourceOutcome::noStorage);
    EXPECT_EQ(copySource(m_file, QStringLiteral("/missing/folder/copy"), m_stop.get_token(), m_pulse),
              SourceOutcome::noStorage);
    EXPECT_EQ(QFile(QString::fromLocal8Bit(m_file)).size(), m_content.size());
}

TEST_F(Source, IsLeftInTheMiddleOnAStop)
{
    m_stop.request_stop();

    EXPECT_EQ(copySource(m_file, m_copy, m_stop.get_token(), m_pulse), SourceOutcome::stopped);
}

} // namespace
} // namespace gateway::receive
