#include "upload/removal_record.h"

#include <QtCore/QSet>

#include <gtest/gtest.h>

namespace gateway::upload {

TEST(RemovalRecord, NamesTheFileAndWhyItWent)
{
    const QUrl file = QUrl::fromLocalFile(QStringLiteral("/store/10000/7.dcm"));

    const log::StoreLogRecord record = removalRecord(file, index::RemovalReason::retention);

    EXPECT_EQ(record.category, log::GatewayLogCategory::uploadQueue);
    EXPECT_EQ(record.action, log::GatewayLogAction::incomingFileDeleted);
    EXPECT_EQ(record.outcome, log::GatewayLogOutcome::completed);
    EXPECT_EQ(record.fileURL, file);
    EXPECT_EQ(record.details,
              (QMap<QString, QString>{{QStringLiteral("reason"), QStringLiteral("retention")}}));
}

TEST(RemovalRecord, HasAWordForEachReason)
{
    using enum index::RemovalReason;
    QSet<QString> words;

    for (const index::RemovalReason reason : {retention, deletion, superseded, unrecorded, resumed}) {
        words.insert(removalRecord({}, reason).details.value(QStringLiteral("reason")));
    }

    EXPECT_EQ(words.size(), 5);
}

} // namespace gateway::upload
