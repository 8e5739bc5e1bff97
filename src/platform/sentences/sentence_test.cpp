#include "platform/sentences/sentence.h"

#include <QtCore/QTranslator>

#include <gtest/gtest.h>

#include <cerrno>

namespace gateway::platform {
namespace {

using namespace Qt::StringLiterals;

/// Speaks a language of its own.
class Reversed final : public QTranslator
{
public:
    Reversed() { QCoreApplication::installTranslator(this); }
    ~Reversed() override { QCoreApplication::removeTranslator(this); }

    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return u"«%1.%2»"_s.arg(QLatin1StringView(context), QLatin1StringView(text));
    }
};

TEST(Sentence, IsSaidInTheLanguageOfWhoeverAsks)
{
    int none = 0;
    const QCoreApplication application(none, nullptr);
    const Sentence sentence("Listener", "Port %1 of %2.", {u"104"_s, u"here"_s});
    EXPECT_EQ(sentence.inLanguage(), u"Port 104 of here."_s);

    const Reversed reversed;

    EXPECT_EQ(sentence.inLanguage(), u"«Listener.Port 104 of here.»"_s);
    EXPECT_EQ(sentence.inEnglish(), u"Port 104 of here."_s);
}

TEST(Sentence, LeavesWordsOfOthersAlone)
{
    int none = 0;
    const QCoreApplication application(none, nullptr);
    const Reversed reversed;

    const Sentence both = Sentence("A", "First %1.", {u"%2"_s}).followedBy(u"50 %1 gone"_s);

    EXPECT_EQ(both.inLanguage(), u"«A.First %2.» 50 %1 gone"_s);
    EXPECT_EQ(both.inEnglish(), u"First %2. 50 %1 gone"_s);
}

TEST(Sentence, NamesAnErrorOfTheSystem)
{
    EXPECT_EQ(Sentence("A", "It is: %1.", {SystemError{ENOTDIR}}).inEnglish(), u"It is: Not a directory."_s);
    EXPECT_EQ(Sentence("A", "It is: %1.", {SystemError{54321}}).inEnglish(), u"It is: error 54321."_s);
    EXPECT_TRUE(Sentence("A", "It is: %1.", {SystemError{54321}}).inLanguage().contains(u"54321"_s));
}

TEST(Sentence, IsFoundInWhatANotificationCarries)
{
    const Sentence sentence("A", "One.");

    EXPECT_EQ(Sentence::in(QVariant::fromValue(sentence)), sentence);
    EXPECT_EQ(Sentence::in(u"Two."_s), Sentence(u"Two."_s));
    EXPECT_TRUE(Sentence::in(7).isEmpty());
    EXPECT_TRUE(Sentence::in({}).isEmpty());
    EXPECT_TRUE(Sentence(QString()).isEmpty());
}

} // namespace
} // namespace gateway::platform
