#include "platform/dicom/association_events.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

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
        all.misnamed = [this](QString id) { lines << QStringLiteral("misnamed ") + id; };
        all.turnedAway = [this](const StoreSCPTurnedAway &away) {
            lines << QStringLiteral("turned away %1 %2 %3").arg(away.reason, away.host).arg(away.count);
        };
        all.leftFiles = [this] { lines << QStringLiteral("left files"); };
        all.incomingData = [this] { lines << QStringLiteral("incoming"); };
        return all;
    }

    QStringList lines;
};

constexpr char kFile[] = "quorin-00000000000000000000000000000000-1.dcm";

/// An inbox with one object in it.
class InboxWithObject
{
public:
    InboxWithObject()
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }

    QString folder() const { return m_folder.path(); }
    QString path() const { return m_folder.filePath(QString::fromLatin1(kFile)); }

private:
    QTemporaryDir m_folder;
};

Record about(const char *word, const char *association)
{
    return {word, {{"association", association}, {"peer", "p "}, {"file", kFile}, {"message", " m"}}};
}

} // namespace

TEST(AssociationEvents, AreCalledInTheOrderOfTheirRecords)
{
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);

    EXPECT_TRUE(events.dispatch(about("started", "1")));
    EXPECT_TRUE(events.dispatch(about("progress", "1")));
    EXPECT_TRUE(events.dispatch(about("complete", "1")));

    EXPECT_EQ(recorded.lines,
              QStringList({QStringLiteral("started p 1"),
                           QStringLiteral("incoming"),
                           QStringLiteral("progress ") + inbox.path() + u'1',
                           QStringLiteral("complete 1")}));
}

TEST(AssociationEvents, AnAssociationEndsOnce)
{
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);
    events.dispatch(about("started", "1"));

    events.dispatch(about("complete", "1"));
    events.dispatch(about("failed", "1"));
    events.failAll(QStringLiteral(" over"));

    EXPECT_EQ(recorded.lines, QStringList({QStringLiteral("started p 1"), QStringLiteral("complete 1")}));
}

TEST(AssociationEvents, WhatIsStillOpenAtTheEndFails)
{
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);
    events.dispatch(about("started", "1"));

    events.failAll(QStringLiteral(" over"));

    EXPECT_EQ(recorded.lines, QStringList({QStringLiteral("started p 1"), QStringLiteral("failed 1 over")}));
}

TEST(AssociationEvents, ARefusedOrCancelledAssociationIsAskedToEnd)
{
    const InboxWithObject inbox;
    auto [ours, theirs] = Channel::makePair();
    StoreSCPCallbacks callbacks;
    callbacks.shouldAcceptAssoc = [] { return false; };
    callbacks.isCancelled = [](QString id) { return id == QStringLiteral("2"); };
    AssociationEvents events(callbacks, inbox.folder(), ours);
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
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);

    EXPECT_FALSE(events.dispatch(about("listening", "1")));

    EXPECT_TRUE(recorded.lines.isEmpty());
}

TEST(AssociationEvents, AFileThatIsNoObjectOfTheInboxIsNotPassedOn)
{
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);

    for (const char *file :
         {"/etc/passwd", "../quorin-00000000000000000000000000000000-1.dcm", "", "notes.dcm"}) {
        EXPECT_TRUE(events.dispatch({"progress", {{"association", "1"}, {"file", file}}}));
    }

    EXPECT_EQ(recorded.lines.count(QStringLiteral("misnamed 1")), 4);
    EXPECT_EQ(recorded.lines.size(), 4);
}

TEST(AssociationEvents, PeersThatWereTurnedAwayAreToldOf)
{
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);
    Record record{"turnedaway", {{"reason", "request_too_late"}, {"host", "10.0.0.1"}}};
    record.setNumber("count", 3);

    EXPECT_TRUE(events.dispatch(record));

    EXPECT_EQ(recorded.lines, QStringList({QStringLiteral("turned away request_too_late 10.0.0.1 3")}));
}

TEST(AssociationEvents, FilesThatNobodyNamedAreToldOf)
{
    const InboxWithObject inbox;
    Recorded recorded;
    Channel channel;
    AssociationEvents events(recorded.callbacks(), inbox.folder(), channel);

    EXPECT_TRUE(events.dispatch({"leftover", {}}));

    EXPECT_EQ(recorded.lines, QStringList({QStringLiteral("left files")}));
}

} // namespace gateway::platform
