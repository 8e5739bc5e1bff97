#include "core/failure_class.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <gtest/gtest.h>

#include <vector>

namespace gateway::core {

namespace {

std::vector<FailureClass> allClasses()
{
    std::vector<FailureClass> all;
    for (int number = 0; number <= static_cast<int>(FailureClass::unknown); ++number) {
        all.push_back(static_cast<FailureClass>(number));
    }
    return all;
}

} // namespace

TEST(FailureClass, HasASentenceOfItsOwnEach)
{
    QSet<QString> sentences;

    for (const FailureClass one : allClasses()) {
        sentences.insert(failureSentence(one));
    }

    EXPECT_EQ(static_cast<std::size_t>(sentences.size()), allClasses().size());
}

TEST(FailureClass, IsToldInThreePlainSentencesWithoutNumbers)
{
    static const QRegularExpression number(QStringLiteral("[0-9]"));
    static const QRegularExpression jargon(
        QStringLiteral("HTTP|STOW|DICOM|UID|SOP|TLS|DNS|token|socket|server"),
        QRegularExpression::CaseInsensitiveOption);
    for (const FailureClass one : allClasses()) {
        const QString sentence = failureSentence(one);
        const auto ends = sentence.count(QStringLiteral(". ")) + 1;

        EXPECT_TRUE(sentence.endsWith(u'.')) << sentence.toStdString();
        EXPECT_GE(ends, 3) << sentence.toStdString();
        EXPECT_LE(ends, 3) << sentence.toStdString();
        EXPECT_FALSE(sentence.contains(number)) << sentence.toStdString();
        EXPECT_FALSE(sentence.contains(jargon)) << sentence.toStdString();
    }
}

TEST(FailureClass, IsExplainedInTheUserGuide)
{
    QFile file(QStringLiteral(QUORIN_SOURCES "/docs/user-guide.md"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString guide = QString::fromUtf8(file.readAll());
    for (const FailureClass one : allClasses()) {
        const QString sentence = failureSentence(one);
        const qsizetype end = sentence.indexOf(QStringLiteral(". ")) + 1;

        EXPECT_TRUE(
            guide.contains(QStringLiteral("| %1 | %2 |").arg(sentence.left(end), sentence.mid(end + 1))))
            << sentence.toStdString();
    }
}

TEST(FailureClass, ComesBackFromItsStoredWord)
{
    QSet<QString> words;
    for (const FailureClass one : allClasses()) {
        EXPECT_EQ(failureClassOf(rawValue(one)), one);
        words.insert(rawValue(one));
    }

    EXPECT_EQ(static_cast<std::size_t>(words.size()), allClasses().size());
}

TEST(FailureClass, OfALaterVersionsWordIsUnknown)
{
    EXPECT_EQ(failureClassOf(QStringLiteral("sunspots")), FailureClass::unknown);
    EXPECT_EQ(failureClassOf(QString()), FailureClass::unknown);
}

TEST(FailureClass, OfAUsedUpAllowanceSaysThatImagesAreKeptAndSentLater)
{
    EXPECT_TRUE(failureSentence(FailureClass::storageUsedUp)
                    .startsWith(QStringLiteral("The cloud's storage allowance is used up. Images are kept "
                                               "here and sent when there is room.")));
}

} // namespace gateway::core
