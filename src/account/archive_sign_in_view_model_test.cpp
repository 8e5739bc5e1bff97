#include "account/archive_sign_in_view_model.h"

#include "account/testing/fake_archive.h"

#include <QtCore/QFile>

namespace gateway::account::testing {

namespace {

using namespace std::chrono_literals;
using cloud_client::ArchiveSignIn;
using cloud_client::DeviceAnswer;
using cloud_client::TrialStep;
using Method = ArchiveSignIn::Method;

ArchiveEntries byToken(const QString &token)
{
    ArchiveEntries entries;
    entries.signIn.method = Method::bearer;
    entries.signIn.secret = token;
    return entries;
}

ArchiveEntries byCode()
{
    ArchiveEntries entries;
    entries.signIn.method = Method::device;
    entries.signIn.client.issuer = QStringLiteral("https://id.example");
    entries.signIn.client.id = QStringLiteral("gateway");
    return entries;
}

DeviceAnswer grant()
{
    return {.tokens = cloud_client::DeviceTokens{
                QStringLiteral("t1"), QStringLiteral("r1"), QStringLiteral("ann")}};
}

} // namespace

struct ArchiveSignInModel : SessionWorld
{
    ~ArchiveSignInModel() override
    {
        model.cancel();
        runUntil([this] { return !begun || end; });
    }

    ArchiveSignInEnd signIn(const ArchiveEntries &entries) { return resultOf(model.signInBy(entries)); }

    /// Begins a sign-in by code, and runs until the code is there.
    void begin(const ArchiveEntries &entries = byCode())
    {
        begun = true;
        task = model.signInBy(entries).then([this](ArchiveSignInEnd given) { end = std::move(given); });
        runUntil([this] { return model.code().has_value() || end; });
    }

    /// Lets time pass until the sign-in has ended.
    void awaitEnd()
    {
        runUntil([this] {
            clock.advance(1s);
            return end.has_value();
        });
    }

    /// Begins a sign-in by a secret in a file, which is being read then.
    void beginWithFile()
    {
        ArchiveEntries entries = byCode();
        entries.signIn.method = Method::clientCredentials;
        entries.secretFile = file(QStringLiteral("secret"), "s");
        begun = true;
        task = model.signInBy(entries).then([this](ArchiveSignInEnd given) { end = std::move(given); });
    }

    QString file(const QString &name, const QByteArray &content)
    {
        QFile made(folder.filePath(name));
        EXPECT_TRUE(made.open(QIODevice::WriteOnly));
        made.write(content);
        return made.fileName();
    }

    FakeArchive archive{*this};
    ArchiveSignInViewModel &model = archive.model;
    ScriptedGrants &grants = archive.grants;
    bool begun = false;
    std::optional<ArchiveSignInEnd> end;
    std::optional<QCoro::Task<>> task;
};

TEST_F(ArchiveSignInModel, ShowsTheAddressWithoutWhatIsSecret)
{
    EXPECT_EQ(model.address(), QStringLiteral("https://archive.example/dicom-web"));
}

TEST_F(ArchiveSignInModel, SignsInByWhatWasFilledIn)
{
    const ArchiveSignInEnd ended = signIn(byToken(QStringLiteral("abc")));

    EXPECT_TRUE(ended.isSignedIn);
    EXPECT_EQ(ended.problem, QString());
    ASSERT_TRUE(service.lastLogin && service.lastLogin->archive);
    EXPECT_EQ(service.lastLogin->archive->secret, QStringLiteral("abc"));
}

TEST_F(ArchiveSignInModel, SaysInOneSentenceWhatCannotBeTriedAndAsksNobody)
{
    ArchiveEntries noFile = byToken({});
    noFile.secretFile = folder.filePath(QStringLiteral("none"));
    ArchiveEntries noCertificate;
    noCertificate.wantsCertificate = true;
    ArchiveEntries odd = noCertificate;
    odd.certificateFile = file(QStringLiteral("odd.pem"), "no certificate");
    ArchiveEntries noIssuer = byCode();
    noIssuer.signIn.client.issuer.clear();

    for (const ArchiveEntries &entries :
         {byToken(QStringLiteral("two words")), noFile, noCertificate, odd, noIssuer}) {
        const ArchiveSignInEnd ended = signIn(entries);

        EXPECT_FALSE(ended.isSignedIn);
        EXPECT_TRUE(ended.problem.endsWith(u'.')) << ended.problem.toStdString();
        EXPECT_EQ(ended.problem.count(QStringLiteral(". ")), 0) << ended.problem.toStdString();
    }
    EXPECT_TRUE(service.calls().isEmpty());
    EXPECT_EQ(grants.questions, 0);
}

TEST_F(ArchiveSignInModel, ReadsASecretFromItsFile)
{
    ArchiveEntries entries = byToken({});
    entries.secretFile = file(QStringLiteral("token"), "abc\n");

    EXPECT_TRUE(signIn(entries).isSignedIn);

    EXPECT_EQ(service.lastLogin->archive->secret, QStringLiteral("abc"));
}

TEST_F(ArchiveSignInModel, KeepsWhatStandsBesidesAndTheCertificateUnlessItIsUnwanted)
{
    ArchiveSignIn before;
    before.extras.queryRoot = QStringLiteral("https://query.example");
    before.certificate = {"chain", "key"};
    settings.setToken(cloud_client::sessionText(before));

    EXPECT_TRUE(signIn(byToken(QStringLiteral("abc"))).isSignedIn);

    EXPECT_EQ(service.lastLogin->archive->extras.queryRoot, before.extras.queryRoot);
    EXPECT_TRUE(service.lastLogin->archive->certificate.isEmpty());
}

TEST_F(ArchiveSignInModel, ShowsACodeAndHowLongItIsGoodUntilAPersonHasEnteredIt)
{
    grants.steps = {[] { return DeviceAnswer(); }, grant};
    grants.lifetime = 1h; // however soon time is let pass again

    begin();
    ASSERT_TRUE(model.code());
    EXPECT_EQ(model.code()->userCode, QStringLiteral("ABCD"));
    EXPECT_EQ(model.codeLeft(), 1h);
    clock.advance(1s);
    EXPECT_EQ(model.codeLeft(), 1h - 1s);
    awaitEnd();

    EXPECT_TRUE(end->isSignedIn) << end->problem.toStdString();
    EXPECT_FALSE(model.code());
    EXPECT_EQ(service.lastLogin->granted->refreshToken, QStringLiteral("r1"));
    EXPECT_EQ(service.lastLogin->archive->holder, QStringLiteral("ann"));
}

TEST_F(ArchiveSignInModel, SignsNobodyInWhoGaveTheCodeUp)
{
    begin();

    model.cancel();
    EXPECT_FALSE(model.code());
    runUntil([this] { return end.has_value(); });

    EXPECT_FALSE(end->isSignedIn);
    EXPECT_EQ(end->problem, QStringLiteral("The sign-in was given up."));
    EXPECT_TRUE(service.calls().isEmpty());
}

TEST_F(ArchiveSignInModel, SignsNobodyInWhoGaveUpWhileFilesWereRead)
{
    beginWithFile();

    model.cancel();
    runUntil([this] { return end.has_value(); });

    EXPECT_EQ(end->problem, QStringLiteral("The sign-in was given up."));
    EXPECT_TRUE(service.calls().isEmpty());
}

TEST_F(ArchiveSignInModel, GivesFilesUpForTheNextSignIn)
{
    beginWithFile();

    EXPECT_TRUE(signIn(byToken(QStringLiteral("abc"))).isSignedIn);
    runUntil([this] { return end.has_value(); });

    EXPECT_FALSE(end->isSignedIn);
    ASSERT_TRUE(service.lastLogin && service.lastLogin->archive);
    EXPECT_EQ(service.lastLogin->archive->secret, QStringLiteral("abc"));
}

TEST_F(ArchiveSignInModel, SignsNobodyInWhoGaveUpWhileTheArchiveWasAsked)
{
    service.hold(QStringLiteral("login"));
    std::stop_source asker;
    begun = true;
    task = model.signIn(byToken(QStringLiteral("first")).signIn, nullptr, asker.get_token())
               .then([this](ArchiveSignInEnd given) { end = std::move(given); });
    runUntil([this] { return !service.calls().isEmpty(); });

    asker.request_stop();
    service.release();
    EXPECT_TRUE(signIn(byToken(QStringLiteral("second"))).isSignedIn);
    runUntil([this] { return end.has_value(); });

    EXPECT_EQ(end->problem, QStringLiteral("The sign-in was given up."));
    EXPECT_EQ(service.lastLogin->archive->secret, QStringLiteral("second"));
    EXPECT_EQ(service.calls().count(QStringLiteral("login")), 2);
}

TEST_F(ArchiveSignInModel, GivesAnArchiveThatIsBeingAskedUpForTheNextSignIn)
{
    service.hold(QStringLiteral("login"));
    begun = true;
    task = model.signInBy(byToken(QStringLiteral("first"))).then([this](ArchiveSignInEnd given) {
        end = std::move(given);
    });
    runUntil([this] { return !service.calls().isEmpty(); });

    std::optional<ArchiveSignInEnd> next;
    const auto second =
        model.signInBy(byToken(QStringLiteral("second"))).then([&next](ArchiveSignInEnd given) {
            next = std::move(given);
        });
    service.release();
    runUntil([&] { return next && end; });

    EXPECT_TRUE(next->isSignedIn) << next->problem.toStdString();
    EXPECT_FALSE(end->isSignedIn);
    EXPECT_EQ(service.lastLogin->archive->secret, QStringLiteral("second"));
}

TEST_F(ArchiveSignInModel, GivesACodeUpForTheNextSignIn)
{
    begin();

    EXPECT_TRUE(signIn(byToken(QStringLiteral("abc"))).isSignedIn);
    runUntil([this] { return end.has_value(); });

    EXPECT_FALSE(end->isSignedIn);
    EXPECT_FALSE(model.code());
}

TEST_F(ArchiveSignInModel, TakesBackWhatWasGrantedWhereNoSessionCameOfIt)
{
    grants.steps = {grant};
    grants.lifetime = 1h;
    service.isOffline = true; // so the archive can't be asked
    begin();

    awaitEnd();

    EXPECT_FALSE(end->isSignedIn);
    runUntil([this] { return service.calls().contains(QStringLiteral("revoke")); });
    EXPECT_EQ(service.revoked.second, QStringLiteral("r1"));
}

/// The service of tokens may know both as one.
TEST_F(ArchiveSignInModel, TakesNothingBackWhereTheSessionThatStandsIsByACodeAtTheSameService)
{
    grants.steps = {grant};
    grants.lifetime = 1h;
    begin();
    awaitEnd();
    ASSERT_TRUE(end->isSignedIn) << end->problem.toStdString();

    end.reset();
    grants.steps = {grant};
    service.isOffline = true; // so the archive can't be asked
    begin();
    awaitEnd();

    EXPECT_FALSE(end->isSignedIn);
    pool.waitUntilIdle();
    EXPECT_FALSE(service.calls().contains(QStringLiteral("revoke")));
}

TEST_F(ArchiveSignInModel, TakesNothingBackThatASessionLivesBy)
{
    grants.steps = {grant};
    grants.lifetime = 1h;
    begin();

    awaitEnd();

    EXPECT_TRUE(end->isSignedIn) << end->problem.toStdString();
    EXPECT_FALSE(service.calls().contains(QStringLiteral("revoke")));
}

TEST_F(ArchiveSignInModel, SaysWhyThereIsNoCode)
{
    grants.refusal = QStringLiteral("The sign-in service knows no codes.");

    begin();

    ASSERT_TRUE(end);
    EXPECT_EQ(end->problem, *grants.refusal);
    EXPECT_FALSE(model.code());
}

TEST_F(ArchiveSignInModel, ShowsWhatATrialFoundUntilAnotherSessionBegins)
{
    ASSERT_TRUE(signIn(byToken(QStringLiteral("abc"))).isSignedIn);

    EXPECT_EQ(resultOf(model.test({})).value().size(), 1);
    EXPECT_FALSE(model.isTesting());
    EXPECT_EQ(model.steps().value(0).words, QStringLiteral("There."));

    ASSERT_TRUE(signIn(byToken(QStringLiteral("def"))).isSignedIn);
    EXPECT_TRUE(model.steps().isEmpty());
}

TEST_F(ArchiveSignInModel, TriesTheArchiveOutOnceAtATime)
{
    std::optional<bool> isRefused;
    const auto first = model.test({}).then([](const std::optional<QList<TrialStep>> &) {});
    const auto second = model.test({}).then(
        [&isRefused](const std::optional<QList<TrialStep>> &steps) { isRefused = !steps; });

    runUntil([this] { return !model.isTesting(); });

    EXPECT_EQ(isRefused, true);
}

} // namespace gateway::account::testing
