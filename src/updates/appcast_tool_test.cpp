#include "updates/own_build.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::updates {

namespace {

/// The tool that makers of a feed use, and a gateway that reads what it made.
struct AppcastTool : ::testing::Test
{
    QString path(const QString &name) const { return folder.filePath(name); }

    QByteArray run(const QStringList &arguments) const
    {
        QProcess tool;
        tool.start(QStringLiteral(QUORIN_APPCAST_TOOL), arguments);
        EXPECT_TRUE(tool.waitForFinished(-1));
        EXPECT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().toStdString();
        return tool.readAllStandardOutput();
    }

    void write(const QString &name, const QByteArray &content) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    void add(const QString &version, const QString &package) const
    {
        run({u"add"_qs,
             path(u"feed.json"_qs),
             u"--key"_qs,
             path(u"key.pem"_qs),
             u"--version"_qs,
             version,
             u"--display"_qs,
             version + u" (Winter)"_qs,
             u"--notes"_qs,
             path(u"notes.txt"_qs),
             u"--architecture"_qs,
             u"x86_64"_qs,
             u"--url"_qs,
             u"https://updates.example/"_qs + package,
             path(package)});
    }

    std::optional<AppcastItem> newest(const QList<AppcastItem> &items) const
    {
        return newestFor(build, items, u"updates.example"_qs);
    }

    QTemporaryDir folder;
    OwnBuild build{.versionString = u"1.9.3"_qs,
                   .kind = PackageKind::appImage,
                   .architecture = u"x86_64"_qs,
                   .publicKey = {}};
};

} // namespace

TEST_F(AppcastTool, MakesAFeedThatTheGatewayVerifies)
{
    build.publicKey = QByteArray::fromBase64(run({u"key"_qs, path(u"key.pem"_qs)}).trimmed());
    ASSERT_EQ(build.publicKey.size(), 32);
    EXPECT_EQ(QByteArray::fromBase64(run({u"public"_qs, path(u"key.pem"_qs)}).trimmed()), build.publicKey);
    write(u"notes.txt"_qs, "Größer \xF0\x9F\x99\x82\nund schneller.\n");
    write(u"gateway.AppImage"_qs, "a package");
    write(u"gateway.deb"_qs, "another package");

    add(u"2.0"_qs, u"gateway.AppImage"_qs);
    add(u"2.1"_qs, u"gateway.deb"_qs);
    write(u"gateway.AppImage"_qs, "a better package");
    add(u"2.0"_qs, u"gateway.AppImage"_qs);

    const auto items = parseAppcast(read(u"feed.json"_qs));
    ASSERT_TRUE(items);
    EXPECT_EQ(items->size(), 2);
    const auto item = newest(*items);
    ASSERT_TRUE(item);
    EXPECT_EQ(item->versionString, u"2.0"_qs);
    EXPECT_EQ(item->displayVersionString, u"2.0 (Winter)"_qs);
    EXPECT_EQ(item->notes, QString::fromUtf8("Größer \xF0\x9F\x99\x82\nund schneller.\n"));
    EXPECT_EQ(item->length, 16);
    build.kind = PackageKind::debian;
    EXPECT_EQ(newest(*items)->versionString, u"2.1"_qs);
}

} // namespace gateway::updates
