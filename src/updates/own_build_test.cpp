#include "updates/own_build.h"

#include "updates/testing/feed_text.h"
#include "updates/testing/signing_key.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::updates::testing {

namespace {

struct OwnBuilds : ::testing::Test
{
    AppcastItem signedVersion(const QString &version) const
    {
        return key.signedItem(itemFor("a package of " + version.toUtf8(), version));
    }

    std::optional<AppcastItem> newest(const QList<AppcastItem> &items) const
    {
        return newestFor(build, items, u"updates.example"_qs);
    }

    SigningKey key;
    OwnBuild build{.versionString = u"1.9.3"_qs,
                   .kind = PackageKind::appImage,
                   .architecture = u"x86_64"_qs,
                   .publicKey = key.publicKey()};
};

} // namespace

TEST_F(OwnBuilds, TakeTheNewestByNumbers)
{
    const AppcastItem newer = signedVersion(u"1.10"_qs);
    const AppcastItem newest = signedVersion(u"1.10.1"_qs);

    EXPECT_EQ(this->newest({newer, newest, signedVersion(u"1.9.4"_qs)}), newest);
}

TEST_F(OwnBuilds, NeverGoBack)
{
    for (const char *version : {"1.9.3", "1.9.3.0", "1.9.2", "1.9", "0.99", "1"}) {
        EXPECT_EQ(newest({signedVersion(QLatin1StringView(version))}), std::nullopt) << version;
    }
}

TEST_F(OwnBuilds, TakeNoPackageOfAnotherKindOrForAnotherMachine)
{
    AppcastItem debian = itemFor("a");
    debian.kind = PackageKind::debian;
    AppcastItem arm = itemFor("a");
    arm.architecture = u"aarch64"_qs;

    EXPECT_EQ(newest({key.signedItem(debian), key.signedItem(arm)}), std::nullopt);
}

TEST_F(OwnBuilds, TakeNothingSignedByAnotherKey)
{
    const AppcastItem item = SigningKey().signedItem(itemFor("a"));

    EXPECT_EQ(failureOf([&] { newest({item}); }), UpdateFailure::badSignature);
}

TEST_F(OwnBuilds, TakeNothingWhoseMembersAreNotThoseThatWereSigned)
{
    const AppcastItem item = signedVersion(u"2.0"_qs);
    ASSERT_EQ(newest({item}), item);
    QList<AppcastItem> changed(5, item);
    changed[0].versionString = u"9.0"_qs;
    changed[1].length += 1;
    changed[2].sha256[0] = static_cast<char>(changed[2].sha256[0] ^ 1);
    changed[3].notes.append(u"!"_qs);
    changed[4].displayVersionString = u"9.0"_qs;

    for (const AppcastItem &other : changed) {
        EXPECT_EQ(failureOf([&] { newest({other}); }), UpdateFailure::badSignature);
    }
}

TEST_F(OwnBuilds, DoNotTakeAPackageOfOneKindSignedAsAnother)
{
    AppcastItem debian = itemFor("a");
    debian.kind = PackageKind::debian;
    debian = key.signedItem(debian);
    debian.kind = PackageKind::appImage;

    EXPECT_EQ(failureOf([&] { newest({debian}); }), UpdateFailure::badSignature);
}

TEST_F(OwnBuilds, TakeTheNewestOneThatIsSigned)
{
    const AppcastItem good = signedVersion(u"2.0"_qs);
    AppcastItem forged = itemFor("b", u"3.0"_qs);
    forged.signature = good.signature;

    EXPECT_EQ(newest({forged, good}), good);
}

TEST_F(OwnBuilds, DoNotCareForTheSignatureOfWhatTheyWouldNotTake)
{
    EXPECT_EQ(newest({SigningKey().signedItem(itemFor("a", u"1.0"_qs))}), std::nullopt);
}

// --- The tool that makers of a feed use
// ---------------------------------------------------------------------

namespace {

struct AppcastTool : OwnBuilds
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

    QTemporaryDir folder;
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

} // namespace gateway::updates::testing
