#include "shell/desktop/desktop_application.h"

#include <QtCore/QProcessEnvironment>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

QProcessEnvironment with(const QString &name, const QString &value)
{
    QProcessEnvironment environment;
    environment.insert(name, value);
    return environment;
}

TEST(Display, IsMissedWithOneSentenceThatNamesTheOtherWay)
{
    for (const QProcessEnvironment &environment :
         {QProcessEnvironment(), with(QStringLiteral("DISPLAY"), QString())}) {
        const std::optional<QString> problem = displayProblem(environment);

        ASSERT_TRUE(problem);
        EXPECT_TRUE(problem->contains(QStringLiteral("--headless")));
        EXPECT_EQ(problem->count(u'.'), 1);
        EXPECT_FALSE(problem->contains(u'\n'));
    }
}

TEST(Display, IsThereWhereTheEnvironmentNamesOne)
{
    EXPECT_FALSE(displayProblem(with(QStringLiteral("DISPLAY"), QStringLiteral(":0"))));
    EXPECT_FALSE(displayProblem(with(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-0"))));
    EXPECT_FALSE(displayProblem(with(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"))));
}

} // namespace
} // namespace gateway::shell
