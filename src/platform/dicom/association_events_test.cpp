#include "platform/dicom/association_events.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace gateway::platform {

using dicom_protocol::Channel;
using dicom_protocol::Record;

namespace {

/// Writes down each callback as one line.
class Recorded
{
public:
    StoreSCPCallbacks callbacks()
    {
        StoreSCPCallbacks all;
        all.started = [this](QString peer, QString id) { lines << QStringLiteral("started ") + peer + id; };
        all.complete = [this](QString id) { lines << QStringLiteral("complete ") + id; };
        all.failed = [this](QString id, QString why) { lines << QStringLiteral("failed ") + id + why; };
        all.progress = [this](double, QString, QString path, QString id) {
            lines << QStringLiteral("progress ") + path + id;
        };
        all.incomingData = [this] { lines << QStringLiteral("incoming"); };
        return all;
    }

    QStringList lines;
};

Record about(const char *word, const char *association)
{
    return {word, {{"association", association}, {"peer", "p "}, {"path", "/f "}, {"message", " m"}}};
}

} // namespace

TEST(AssociationEvents, AreCalledInTheOrderOfTheirRecords)
{
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), channel);

    EXPECT_TRUE(events.dispatch(about("started", "1")));
    EXPECT_TRUE(events.dispatch(about("progress", "1")));
    EXPECT_TRUE(events.dispatch(about("complete", "1")));

    EXPECT_EQ(recorded.lines,
              QStringList({QStringLiteral("started p 1"),
                           QStringLiteral("incoming"),
                           QStringLiteral("progress /f 1"),
                           QStringLiteral("complete 1")}));
}

TEST(AssociationEvents, AnAssociationEndsOnce)
{
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), channel);
    events.dispatch(about("started", "1"));

    events.dispatch(about("complete", "1"));
    events.dispatch(about("failed", "1"));
    events.failAll(QStringLiteral(" over"));

    EXPECT_EQ(recorded.lines, QStringList({QStringLiteral("started p 1"), QStringLiteral("complete 1")}));
}

TEST(AssociationEvents, WhatIsStillOpenAtTheEndFails)
{
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), channel);
    events.dispatch(about("started", "1"));

    events.failAll(QStringLiteral(" over"));

    EXPECT_EQ(recorded.lines, QStringList({QStringLiteral("started p 1"), QStringLiteral("failed 1 over")}));
}

TEST(AssociationEvents, ARefusedOrCancelledAssociationIsAskedToEnd)
{
    auto [ours, theirs] = Channel::makePair();
    StoreSCPCallbacks callbacks;
    callbacks.shouldAcceptAssoc = [] { return false; };
    callbacks.isCancelled = [](QString id) { return id == QStringLiteral("2"); };
    AssociationEvents events(callbacks, ours);
    Record asked;

    events.dispatch(about("started", "1"));
    ASSERT_EQ(theirs.receive(asked), Channel::Receipt::record);
    EXPECT_EQ(asked, (Record{"abort", {{"association", "1"}}}));

    events.dispatch(about("progress", "2"));
    ASSERT_EQ(theirs.receive(asked), Channel::Receipt::record);
    EXPECT_EQ(asked, (Record{"abort", {{"association", "2"}}}));
}

TEST(AssociationEvents, OtherRecordsAreLeftAlone)
{
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), channel);

    EXPECT_FALSE(events.dispatch(about("listening", "1")));

    EXPECT_TRUE(recorded.lines.isEmpty());
}

} // namespace gateway::platform
