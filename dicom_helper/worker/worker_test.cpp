#include "dicom_helper/worker/worker.h"

#include "dicom_helper/worker/testing/sample_object.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace gateway::dicom_helper::worker::testing {

using gateway::platform::dicom_protocol::Channel;
using gateway::platform::dicom_protocol::Record;

namespace {

/// A worker on a thread of this process.
class Worker
{
public:
    Worker() : Worker(Channel::makePair()) {}
    ~Worker()
    {
        m_channel.close();
        m_thread.join();
    }

    Record answerTo(const Record &job)
    {
        Record answer;
        EXPECT_TRUE(m_channel.send(job));
        EXPECT_EQ(m_channel.receive(answer), Channel::Receipt::record);
        return answer;
    }

private:
    explicit Worker(std::pair<Channel, Channel> ends)
        : m_channel(std::move(ends.first)), m_thread([theirs = std::move(ends.second)]() mutable {
              serve(std::move(theirs), std::chrono::milliseconds(-1), [](const Record &) { return true; });
          })
    {
    }

    Channel m_channel;
    std::thread m_thread;
};

} // namespace

TEST(Worker, AnswersJobsOneAfterAnother)
{
    const QTemporaryDir folder;
    const std::string source = folder.filePath(QStringLiteral("source")).toStdString();
    const std::string output = folder.filePath(QStringLiteral("output")).toStdString();
    writeFile(source, fileOf({}));
    Worker worker;

    EXPECT_EQ(worker.answerTo({"parse", {{"path", source}}}).text("SOPUID"), "s1.2.3.4.5");
    EXPECT_EQ(worker.answerTo({"convert", {{"path", source}, {"output", output}}}).text("path"), output);
    EXPECT_EQ(worker.answerTo({"parse", {{"path", output}}}).text("SOPUID"), "s1.2.3.4.5");
    EXPECT_EQ(worker.answerTo({"parse", {{"path", folder.path().toStdString()}}}).word, "unreadable");
}

TEST(Worker, WhatCannotBeOpenedIsTroubleAndNothingIsSaidOfItsContent)
{
    const QTemporaryDir folder;
    const std::string none = folder.filePath(QStringLiteral("none")).toStdString();
    Worker worker;

    for (const char *job : {"parse", "parse_with_version", "convert"}) {
        const Record answer = worker.answerTo({job, {{"path", none}, {"output", none + "2"}}});
        EXPECT_EQ(answer.word, "trouble") << job;
        EXPECT_EQ(answer.text("errno"), std::to_string(ENOENT)) << job;
    }
}

TEST(Worker, AnUnknownJobFails)
{
    Worker worker;

    EXPECT_EQ(worker.answerTo({"sing", {}}).word, "failed");
}

TEST(Worker, EndsWhenItHasNothingToDo)
{
    auto [ours, theirs] = Channel::makePair();

    EXPECT_EQ(serve(std::move(theirs), std::chrono::milliseconds(0), [](const Record &) { return true; }), 0);
}

} // namespace gateway::dicom_helper::worker::testing
