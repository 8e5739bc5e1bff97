#include "updates/privileged_copy.h"

#include <QtCore/QProcess>

#include <gtest/gtest.h>

namespace gateway::updates {

namespace {

/// What a shell makes of the word.
QByteArray asAShellReads(const QString &word)
{
    QProcess shell;
    shell.start(u"/bin/sh"_qs, {u"-c"_qs, u"printf %s "_qs + word});
    EXPECT_TRUE(shell.waitForFinished(-1));
    return shell.readAllStandardOutput();
}

} // namespace

TEST(ShellQuoting, KeepsEveryTextOneWord)
{
    for (const QString &text : {QString(),
                                u"plain"_qs,
                                u"Ann's Gateway.AppImage"_qs,
                                u"''''"_qs,
                                u"a b\tc\nd"_qs,
                                u"$HOME `id` $(id) \\ \" ! * ; & | > /"_qs,
                                u"-rf"_qs,
                                u"Größe"_qs}) {
        EXPECT_EQ(QString::fromUtf8(asAShellReads(shellQuoted(text))), text) << text.toStdString();
    }
}

TEST(ShellQuoting, ClosesOpensAndEscapesASingleQuote)
{
    EXPECT_EQ(shellQuoted(u"a'b"_qs), u"'a'\\''b'"_qs);
}

TEST(PrivilegedCopy, RemovesCopiesAndHandsOver)
{
    EXPECT_EQ(privilegedCopyCommand(u"/s/A's.app"_qs, u"/Applications/A's.app"_qs, u"ann"_qs),
              u"/bin/rm -rf '/Applications/A'\\''s.app' && "
              u"/usr/bin/ditto '/s/A'\\''s.app' '/Applications/A'\\''s.app' && "
              u"/usr/sbin/chown -R 'ann' '/Applications/A'\\''s.app'"_qs);
}

TEST(PrivilegedCopy, IsQuotedOnceMoreInItsScript)
{
    EXPECT_EQ(privilegedScript(u"echo 'a'\\''b' \"c\""_qs),
              u"do shell script \"echo 'a'\\\\''b' \\\"c\\\"\" with administrator privileges"_qs);
}

} // namespace gateway::updates
