#include "terminal/commands/archive_command.h"

#include "terminal/commands/command_line.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <gtest/gtest.h>

namespace gateway::terminal {

namespace {

using cloud_client::ArchiveSignIn;
using Method = ArchiveSignIn::Method;

std::optional<ArchiveCommand> parsed(const QStringList &words)
{
    const auto result = parseCommandLine(QStringList{QStringLiteral("archive")} + words);
    const auto *invocation = std::get_if<Invocation>(&result);
    const auto *command = invocation ? std::get_if<ArchiveCommand>(&invocation->command) : nullptr;
    return command ? std::optional(*command) : std::nullopt;
}

QStringList words(const char *line)
{
    return QString::fromLatin1(line).split(u' ');
}

/// The sign-in as the instance takes it from the command.
ArchiveSignIn
taken(const ArchiveCommand &command, const ArchiveSignIn &signIn, const std::optional<QString> &present)
{
    return signInIn(archiveRequest(command, signIn), present);
}

} // namespace

TEST(ArchiveCommand, TakesAClientOfOAuth)
{
    const auto command = parsed(words("set oauth2 --issuer https://id.example --client-id gw --scope store "
                                      "--audience pacs --secret-in body --secret-file /run/secret"));

    ASSERT_TRUE(command);
    EXPECT_TRUE(command->needsSecret());
    EXPECT_EQ(command->secretFile, QStringLiteral("/run/secret"));
    EXPECT_EQ(command->signIn.method, Method::clientCredentials);
    EXPECT_EQ(command->signIn.client.issuer, QStringLiteral("https://id.example"));
    EXPECT_EQ(command->signIn.client.id, QStringLiteral("gw"));
    EXPECT_EQ(command->signIn.client.secretIn, cloud_client::OAuthClient::SecretIn::body);
}

TEST(ArchiveCommand, AsksForNoSecretWhereACodeOrACertificateStandsInItsPlace)
{
    const auto code = parsed(words("set device --issuer https://id.example --client-id gw --scope openid"));
    const auto withSecret =
        parsed(words("set device --issuer https://id.example --client-id gw --secret-file /run/secret"));
    const auto certificate = parsed(words("set oauth2 --issuer https://id.example --client-id gw --secret-in "
                                          "certificate --certificate /run/c --key /run/k"));

    ASSERT_TRUE(code && withSecret && certificate);
    EXPECT_EQ(code->signIn.method, Method::device);
    EXPECT_FALSE(code->needsSecret());
    EXPECT_TRUE(withSecret->needsSecret());
    EXPECT_FALSE(certificate->needsSecret());
    EXPECT_EQ(taken(*code, code->signIn, std::nullopt), code->signIn);
}

TEST(ArchiveCommand, TellsACodeAndForHowLong)
{
    const QJsonObject told = codeJson({.deviceCode = QStringLiteral("s3cret"),
                                       .userCode = QStringLiteral("ABCD"),
                                       .address = QStringLiteral("https://id.example/device"),
                                       .wholeAddress = QStringLiteral("https://id.example/device?c=ABCD"),
                                       .lifetime = std::chrono::seconds(600),
                                       .interval = std::chrono::seconds(5)});

    EXPECT_EQ(codeText(told),
              QStringLiteral(
                  "To let this gateway in, open https://id.example/device and enter the code ABCD within "
                  "10 minutes.\nThe address with the code in it: https://id.example/device?c=ABCD\n"));
    EXPECT_EQ(codeLifetime(told), std::chrono::seconds(600));
    EXPECT_FALSE(codeLifetime({{QStringLiteral("label"), QStringLiteral("ann")}}));
    EXPECT_FALSE(QJsonDocument(told).toJson().contains("s3cret"));
}

TEST(ArchiveCommand, TakesNoSecretAsAnArgument)
{
    EXPECT_FALSE(parsed(words("set bearer abc")));
    EXPECT_FALSE(parsed(words("set oauth2 --secret abc")));
    EXPECT_FALSE(parsed(words("set telepathy")));
    EXPECT_FALSE(parsed(words("set basic --key /k"))); // without its certificate
}

TEST(ArchiveCommand, ReachesTheInstanceWithItsSecret)
{
    const auto command = parsed(words("set bearer"));
    ASSERT_TRUE(command);
    ArchiveSignIn signIn = command->signIn;
    signIn.secret = QStringLiteral("abc");

    EXPECT_EQ(taken(*command, signIn, std::nullopt), signIn);
}

TEST(ArchiveCommand, KeepsTheCertificateUnlessAnotherComesOrNoneIsWanted)
{
    ArchiveSignIn present;
    present.certificate = {"chain", "key"};
    const QString session = cloud_client::sessionText(present);
    ArchiveSignIn basic;
    basic.method = Method::basic;
    basic.userName = QStringLiteral("ann");
    basic.secret = QStringLiteral("pw");

    EXPECT_EQ(taken(*parsed(words("set basic --user ann")), basic, session).certificate, present.certificate);
    EXPECT_TRUE(taken(*parsed(words("set basic --no-certificate")), basic, session).certificate.isEmpty());
    basic.certificate = {"other", "its key"};
    EXPECT_EQ(taken(*parsed(words("set basic")), basic, session).certificate, basic.certificate);
}

TEST(ArchiveCommand, KeepsTheMethodThatIsNotNamed)
{
    ArchiveSignIn present;
    present.method = Method::bearer;
    present.secret = QStringLiteral("abc");
    const auto command = parsed(words("set --certificate /c --key /k"));
    ASSERT_TRUE(command);
    ArchiveSignIn given = command->signIn;
    given.certificate = {"chain", "key"};

    const ArchiveSignIn signIn = taken(*command, given, cloud_client::sessionText(present));

    EXPECT_EQ(signIn.method, Method::bearer);
    EXPECT_EQ(signIn.secret, QStringLiteral("abc"));
    EXPECT_EQ(signIn.certificate, given.certificate);
}

TEST(ArchiveCommand, SetsAndTakesAwayRootsAndHeadersAlone)
{
    ArchiveSignIn present;
    present.method = Method::bearer;
    present.secret = QStringLiteral("abc");
    const auto setting = parsed(
        words("set --query-root https://q.example --retrieve-root https://w.example --header-file /run/h"));
    ASSERT_TRUE(setting);
    EXPECT_EQ(setting->headerFile, QStringLiteral("/run/h"));
    ArchiveSignIn given = setting->signIn;
    given.extras.headers = {{"X-Api-Key", "s3cret"}};

    const ArchiveSignIn set = taken(*setting, given, cloud_client::sessionText(present));

    EXPECT_EQ(set.secret, QStringLiteral("abc"));
    EXPECT_EQ(set.extras.queryRoot, QStringLiteral("https://q.example"));
    EXPECT_EQ(set.extras.retrieveRoot, QStringLiteral("https://w.example"));
    EXPECT_EQ(set.extras.headers, given.extras.headers);
    const QByteArray shown = QJsonDocument(archiveJson(set)).toJson();
    EXPECT_TRUE(shown.contains("X-Api-Key"));
    EXPECT_FALSE(shown.contains("s3cret"));

    const auto without = parsed(words("set --no-roots --no-headers"));
    const ArchiveSignIn bare = taken(*without, without->signIn, cloud_client::sessionText(set));
    EXPECT_EQ(bare, present);
}

TEST(ArchiveCommand, KeepsNoMethodThatIsNotKnown)
{
    const auto issue = [](const char *line, bool isKnown, const std::optional<QString> &present) {
        return issueWithKeeping(archiveRequest(*parsed(words(line)), {}), isKnown, present).has_value();
    };
    const QString session = cloud_client::sessionText({});

    EXPECT_TRUE(issue("set --no-certificate", false, std::nullopt));
    EXPECT_TRUE(issue("set --no-certificate", true, std::nullopt));
    EXPECT_FALSE(issue("set --no-certificate", true, session));
    EXPECT_FALSE(issue("set none --no-certificate", false, std::nullopt));
}

TEST(ArchiveCommand, ShowsNothingSecret)
{
    ArchiveSignIn signIn;
    signIn.method = Method::clientCredentials;
    signIn.secret = QStringLiteral("s3cret");
    signIn.client.id = QStringLiteral("gw");
    signIn.client.tokenEndpoint = QStringLiteral("https://id.example/token");
    signIn.certificate = {"chain", "k3y"};

    const QJsonObject shown = archiveJson(signIn);

    EXPECT_EQ(archiveText(shown),
              QStringLiteral("Signs in by: oauth2\nToken endpoint: https://id.example/token\nClient id: gw\n"
                             "Secret goes in the: header\n"));
    const QByteArray all = QJsonDocument(shown).toJson();
    EXPECT_FALSE(all.contains("s3cret"));
    EXPECT_FALSE(all.contains("k3y"));
}

TEST(ArchiveCommand, ShowsNoQueryOfAnAddress)
{
    ArchiveSignIn signIn;
    signIn.method = Method::device;
    signIn.client.issuer = QStringLiteral("https://id.example/?one=s3cret");
    signIn.client.tokenEndpoint = QStringLiteral("https://id.example/token?code=s3cret");
    signIn.client.deviceEndpoint = QStringLiteral("https://id.example/device?code=s3cret");

    const QJsonObject shown = archiveJson(signIn);

    EXPECT_EQ(shown.value(QStringLiteral("tokenEndpoint")).toString(),
              QStringLiteral("https://id.example/token?…"));
    EXPECT_FALSE(QJsonDocument(shown).toJson().contains("s3cret"));
}

TEST(ArchiveCommand, TellsATrialStepByStep)
{
    const QJsonObject trial{
        {QStringLiteral("steps"),
         QJsonArray{QJsonObject{{QStringLiteral("step"), QStringLiteral("name")},
                                {QStringLiteral("outcome"), QStringLiteral("good")},
                                {QStringLiteral("words"), QStringLiteral("It is there.")}}}}};

    EXPECT_EQ(trialText(trial), QStringLiteral("good    name: It is there.\n"));
}

} // namespace gateway::terminal
