#include "terminal/commands/browser_report.h"

#include <QtCore/QJsonArray>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

using browser::TableKind;
using Action = BrowserCommand::Action;
using Place = BrowserCommand::Place;

BrowserCommand deletion(const QStringList &targets)
{
    return {.place = Place::local, .action = Action::deletion, .targets = targets};
}

} // namespace

TEST(BrowserRequest, ArrivesAsItWasSent)
{
    BrowserCommand command = deletion({u"1.2"_qs, u"1.3"_qs});
    command.place = Place::cloud;
    command.searchText = u"doe"_qs;
    command.failuresOnly = true;
    command.filters = {{u"modality"_qs, u"CT"_qs}};
    command.study = u"1"_qs;
    command.isConfirmed = true;
    command.expected = 2;

    const BrowserCommand read = browserCommandIn(browserRequest(command));

    EXPECT_EQ(read.place, Place::cloud);
    EXPECT_EQ(read.action, Action::deletion);
    EXPECT_EQ(read.searchText, u"doe"_qs);
    EXPECT_TRUE(read.failuresOnly);
    EXPECT_EQ(read.filters, command.filters);
    EXPECT_EQ(read.study, u"1"_qs);
    EXPECT_EQ(read.targets, command.targets);
    EXPECT_TRUE(read.isConfirmed);
    EXPECT_EQ(read.expected, 2);
    EXPECT_EQ(tableKindOf(read), TableKind::cloudSeries);
    EXPECT_EQ(tableKindOf(browserCommandIn(browserRequest(deletion({})))), TableKind::localStudies);
}

TEST(BrowserDeletion, NeedsTheWordAndTheRightCount)
{
    BrowserCommand command = deletion({u"1.2"_qs, u" 1.2 "_qs, u"1.3"_qs, u""_qs});
    EXPECT_EQ(faultInDeletion(command, {}),
              u"This would delete 2 studies from this computer for good. To do it, add --yes --expect 2."_qs);
    EXPECT_EQ(faultInDeletion(command, {7, 1}),
              u"This would delete 2 studies from this computer for good.\n"
              "Images not in Quorin Cloud: 7, of 1 of the selected studies. They will be lost.\n"
              "To do it, add --yes --expect 2."_qs);
    command.isConfirmed = true;
    EXPECT_FALSE(faultInDeletion(command, {}).isEmpty());
    command.expected = 3;
    EXPECT_EQ(faultInDeletion(command, {}),
              u"2 studies would be deleted, and 3 are expected. Nothing was deleted."_qs);
    command.expected = 2;
    EXPECT_TRUE(faultInDeletion(command, {}).isEmpty());
}

TEST(BrowserDeletion, IsToldWithWhatStays)
{
    EXPECT_EQ(deletionText({{u"deleted"_qs, 1}}, TableKind::cloudStudies),
              u"Deleted 1 study. Copies on this computer stay.\n"_qs);
    EXPECT_EQ(deletionText({{u"deleted"_qs, 2}}, TableKind::localSeries),
              u"Deleted 2 series. What is in Quorin Cloud stays there.\n"_qs);
    EXPECT_EQ(deletionText({{u"deleted"_qs, 2}, {kOutsideCloud, 1}, {kImagesOutsideCloud, 4}},
                           TableKind::localSeries),
              u"Deleted 2 series. What is in Quorin Cloud stays there.\n"
              "Images not in Quorin Cloud: 4, of 1 of the selected series. They will be lost.\n"_qs);
}

TEST(BrowserRows, AreLinesUnderTitles)
{
    const QJsonObject one{{u"seriesNumber"_qs, u"7"_qs},
                          {u"seriesDescription"_qs, u"T1\nsag"_qs},
                          {u"modality"_qs, QJsonValue::Null},
                          {u"syncState"_qs, u"Synced"_qs},
                          {u"images"_qs, 12},
                          {u"seriesInstanceUID"_qs, u"1.2.3"_qs}};

    const QStringList lines =
        rowsText({{u"series"_qs, QJsonArray{one}}}, TableKind::localSeries).split(u'\n');

    EXPECT_EQ(lines.value(0).simplified(),
              u"Series # Description Modality Synced State Images Series UID"_qs);
    EXPECT_EQ(lines.value(1).simplified(), u"7 T1 sag -- Synced 12 1.2.3"_qs);
    EXPECT_EQ(lines.size(), 3);
    EXPECT_EQ(rowsText({{u"series"_qs, QJsonArray()}}, TableKind::localSeries),
              u"No local series found.\n"_qs);
}

} // namespace gateway::terminal
