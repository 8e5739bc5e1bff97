#include "doctor/diagnosis.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <gtest/gtest.h>

namespace gateway::doctor {

TEST(FindingSentences, AreThereForEachKindAndAllDiffer)
{
    QSet<QString> sentences;
    QSet<QString> words;
    const int kinds = static_cast<int>(FindingKind::rejectedObject) + 1;
    for (int number = 0; number < kinds; ++number) {
        const auto kind = static_cast<FindingKind>(number);
        EXPECT_TRUE(findingSentence(kind).endsWith(u'.'));
        sentences.insert(findingSentence(kind));
        words.insert(rawValue(kind));
    }

    EXPECT_EQ(sentences.size(), kinds);
    EXPECT_EQ(words.size(), kinds);
}

TEST(FindingSentences, OfWhatNeedsNothingToBeDoneAreNoProblems)
{
    EXPECT_FALSE(isProblem(FindingKind::earlierCopy));
    EXPECT_FALSE(isProblem(FindingKind::fileGoneAfterUpload));
    EXPECT_FALSE(isProblem(FindingKind::waitsInInbox));
    EXPECT_TRUE(isProblem(FindingKind::fileGone));
    EXPECT_TRUE(isProblem(FindingKind::rejectedObject));
}

TEST(Diagnosis, IsWellOnlyWhenEverythingWasSeenSentAndMended)
{
    EXPECT_TRUE(Diagnosis().isWell());
    EXPECT_TRUE((Diagnosis{.findings = {{FindingKind::wrongCount, 2, 2, {}}}}.isWell()));
    EXPECT_TRUE((Diagnosis{.findings = {{FindingKind::earlierCopy, 2, 0, {}}}}.isWell()));

    EXPECT_FALSE((Diagnosis{.findings = {{FindingKind::wrongCount, 2, 1, {}}}}.isWell()));
    EXPECT_FALSE((Diagnosis{.failures = {{{}, 1, {}}}}.isWell()));
    EXPECT_FALSE((Diagnosis{.wasStopped = true}.isWell()));
}

} // namespace gateway::doctor
