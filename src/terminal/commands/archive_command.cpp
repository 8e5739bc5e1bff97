#include "terminal/commands/archive_command.h"

#include <CLI/CLI.hpp>

#include <QtCore/QDir>
#include <QtCore/QJsonArray>

#include <map>
#include <string>

namespace gateway::terminal {

namespace {

using cloud_client::ArchiveSignIn;
using cloud_client::OAuthClient;
using Method = ArchiveSignIn::Method;
using SecretIn = OAuthClient::SecretIn;

const auto kSignIn = QStringLiteral("signIn");
const auto kKeepsMethod = QStringLiteral("keepsMethod");
const auto kWithoutCertificate = QStringLiteral("withoutCertificate");
const auto kWithoutRoots = QStringLiteral("withoutRoots");
const auto kWithoutHeaders = QStringLiteral("withoutHeaders");

const std::map<std::string, Method> kMethods{{"none", Method::none},
                                             {"basic", Method::basic},
                                             {"bearer", Method::bearer},
                                             {"token-file", Method::tokenFile},
                                             {"oauth2", Method::clientCredentials},
                                             {"device", Method::device}};
const std::map<std::string, SecretIn> kPlaces{{"header", SecretIn::header},
                                              {"body", SecretIn::body},
                                              {"assertion", SecretIn::assertion},
                                              {"certificate", SecretIn::certificate}};

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

QString absolute(const std::string &path)
{
    return path.empty() ? QString() : QDir::current().absoluteFilePath(text(path));
}

template <typename Value>
std::vector<std::string> namesOf(const std::map<std::string, Value> &values)
{
    std::vector<std::string> names;
    names.reserve(values.size());
    for (const auto &[name, value] : values) {
        names.push_back(name);
    }
    return names;
}

/// What a reader wants to know, in the order in which it is told: a key, and what it is called.
const std::pair<const char *, const char *> kShown[] = {{"archive", "Archive"},
                                                        {"method", "Signs in by"},
                                                        {"userName", "User name"},
                                                        {"tokenFile", "Token file"},
                                                        {"issuer", "Issuer"},
                                                        {"tokenEndpoint", "Token endpoint"},
                                                        {"deviceEndpoint", "Device endpoint"},
                                                        {"clientId", "Client id"},
                                                        {"secretIn", "Secret goes in the"},
                                                        {"scope", "Scope"},
                                                        {"audience", "Audience"},
                                                        {"certificate", "Client certificate"},
                                                        {"certificateUntil", "Certificate good until"},
                                                        {"queryRoot", "Root of queries"},
                                                        {"retrieveRoot", "Root of retrieval"},
                                                        {"headers", "Headers"},
                                                        {"refused", "Refused"},
                                                        {"ended", "Ended"}};

const auto kUserCode = QStringLiteral("userCode");
const auto kAddress = QStringLiteral("address");
const auto kWholeAddress = QStringLiteral("wholeAddress");
const auto kSeconds = QStringLiteral("seconds");

} // namespace

struct ArchiveOptions::Raw
{
    std::string method, user, file, issuer, tokenEndpoint, deviceEndpoint, clientId, scope, audience;
    std::string secretIn = "header";
    std::string secretFile, certificate, key, queryRoot, retrieveRoot, headerFile;
    bool noCertificate = false;
    bool noRoots = false;
    bool noHeaders = false;
    bool json = false;
};

void ArchiveOptions::addClient(CLI::App &set, Raw &raw)
{
    set.add_option(
           "--issuer", raw.issuer, "Whose published configuration names the endpoints (oauth2, device)")
        ->type_name("URL");
    set.add_option("--token-endpoint", raw.tokenEndpoint, "Where tokens are given out (oauth2, device)")
        ->type_name("URL");
    set.add_option(
           "--device-endpoint", raw.deviceEndpoint, "Where codes for a sign-in are given out (device)")
        ->type_name("URL");
    set.add_option("--client-id", raw.clientId, "This gateway's name there (oauth2, device)")
        ->type_name("ID");
    set.add_option("--scope", raw.scope, "What to ask for, by blanks (oauth2, device)")->type_name("WORDS");
    set.add_option("--audience", raw.audience, "For whom the token is to be (oauth2, device)")
        ->type_name("NAME");
    set.add_option("--secret-in",
                   raw.secretIn,
                   "How the secret is shown: header, body or assertion; or certificate in its place (oauth2, "
                   "device)")
        ->type_name("PLACE")
        ->check(CLI::IsMember(namesOf(kPlaces)).description(""));
}

void ArchiveOptions::addExtras(CLI::App &set, Raw &raw)
{
    CLI::Option *queryRoot = set.add_option("--query-root",
                                            raw.queryRoot,
                                            "Where it answers queries, unless at its address (QIDO-RS)")
                                 ->type_name("URL");
    CLI::Option *retrieveRoot = set.add_option("--retrieve-root",
                                               raw.retrieveRoot,
                                               "Where it gives images back, unless at its address (WADO-RS)")
                                    ->type_name("URL");
    set.add_flag("--no-roots", raw.noRoots, "All of it is at the archive's address again")
        ->excludes(queryRoot)
        ->excludes(retrieveRoot);
    CLI::Option *headers = set.add_option("--header-file",
                                          raw.headerFile,
                                          "Headers for every request, one a line as Name: value")
                               ->type_name("FILE");
    set.add_flag("--no-headers", raw.noHeaders, "Send no such headers any more")->excludes(headers);
}

ArchiveOptions::ArchiveOptions() : m_raw(std::make_unique<Raw>()) {}
ArchiveOptions::~ArchiveOptions() = default;

void ArchiveOptions::add(CLI::App &app)
{
    Raw &raw = *m_raw;
    CLI::App *archive =
        app.add_subcommand("archive", "Sign in at an archive of the kind dicomweb, and try it out");
    archive->require_subcommand(1);
    CLI::App *set = archive->add_subcommand(
        "set", "Sign in; a secret comes as one line of standard input, or from --secret-file");
    set->add_option(
           "METHOD", raw.method, "none, basic, bearer, token-file, oauth2 or device; as it is without it")
        ->check(CLI::IsMember(namesOf(kMethods)).description(""));
    set->add_option("--user", raw.user, "User name (basic)")->type_name("NAME");
    set->add_option("--file", raw.file, "The token's file, read again when it changes (token-file)")
        ->type_name("FILE");
    addClient(*set, raw);
    set->add_option("--secret-file", raw.secretFile, "The file with the secret, or with the key that signs")
        ->type_name("FILE");
    CLI::Option *certificate =
        set->add_option("--certificate", raw.certificate, "A client certificate and its chain (PEM)")
            ->type_name("FILE");
    set->add_option("--key", raw.key, "Its key (PEM), which is kept with the session")
        ->type_name("FILE")
        ->needs(certificate);
    set->add_flag("--no-certificate", raw.noCertificate, "Show no client certificate any more")
        ->excludes(certificate);
    addExtras(*set, raw);
    CLI::App *show = archive->add_subcommand("show", "Show how it signs in, without what is secret");
    CLI::App *test =
        archive->add_subcommand("test", "Try the archive out with a sample image, and tell what it can't do");
    for (CLI::App *action : {show, test}) {
        action->add_flag("--json", raw.json, "As one JSON object");
    }
}

ArchiveCommand ArchiveOptions::command(const CLI::App &archive) const
{
    const Raw &raw = *m_raw;
    ArchiveCommand command;
    command.asJson = raw.json;
    if (!archive.got_subcommand("set")) {
        command.action =
            archive.got_subcommand("test") ? ArchiveCommand::Action::test : ArchiveCommand::Action::show;
        return command;
    }
    command.action = ArchiveCommand::Action::set;
    command.keepsMethod = raw.method.empty();
    command.signIn.method = command.keepsMethod ? Method::none : kMethods.at(raw.method);
    command.signIn.userName = text(raw.user);
    command.signIn.tokenFile = absolute(raw.file);
    command.signIn.client = {.issuer = text(raw.issuer),
                             .tokenEndpoint = text(raw.tokenEndpoint),
                             .deviceEndpoint = text(raw.deviceEndpoint),
                             .id = text(raw.clientId),
                             .scope = text(raw.scope),
                             .audience = text(raw.audience),
                             .secretIn = kPlaces.at(raw.secretIn)};
    command.secretFile = absolute(raw.secretFile);
    command.certificateFile = absolute(raw.certificate);
    command.keyFile = absolute(raw.key);
    command.signIn.extras = {
        .queryRoot = text(raw.queryRoot), .retrieveRoot = text(raw.retrieveRoot), .headers = {}};
    command.headerFile = absolute(raw.headerFile);
    command.withoutCertificate = raw.noCertificate;
    command.withoutRoots = raw.noRoots;
    command.withoutHeaders = raw.noHeaders;
    return command;
}

bool ArchiveCommand::needsSecret() const
{
    switch (signIn.method) {
    case Method::basic:
    case Method::bearer:
        return true;
    case Method::clientCredentials:
        return signIn.client.secretIn != SecretIn::certificate;
    case Method::device:
        return !secretFile.isEmpty(); // most of these clients have none
    case Method::none:
    case Method::tokenFile:
    case Method::unknown:
        break;
    }
    return false;
}

ControlRequest archiveRequest(const ArchiveCommand &command, const ArchiveSignIn &signIn)
{
    switch (command.action) {
    case ArchiveCommand::Action::set:
        return {requests::kArchiveSet,
                {{kSignIn, cloud_client::sessionText(signIn)},
                 {kKeepsMethod, command.keepsMethod},
                 {kWithoutCertificate, command.withoutCertificate},
                 {kWithoutRoots, command.withoutRoots},
                 {kWithoutHeaders, command.withoutHeaders}}};
    case ArchiveCommand::Action::show:
        return {requests::kArchiveShow, {}};
    case ArchiveCommand::Action::test:
        return {requests::kArchiveTest, {}};
    }
    return {};
}

ArchiveSignIn signInIn(const ControlRequest &request, const std::optional<QString> &present)
{
    const auto isAskedFor = [&request](const QString &what) {
        return request.arguments.value(what).toBool();
    };
    const ArchiveSignIn given = cloud_client::archiveSignIn(request.arguments.value(kSignIn).toString());
    const ArchiveSignIn before = present ? cloud_client::archiveSignIn(*present) : ArchiveSignIn();
    ArchiveSignIn signIn = given;
    cloud_client::keepBesides(signIn, before);
    if (isAskedFor(kWithoutCertificate)) {
        signIn.certificate = {};
    }
    if (isAskedFor(kWithoutRoots)) {
        signIn.extras.queryRoot.clear();
        signIn.extras.retrieveRoot.clear();
    }
    if (isAskedFor(kWithoutHeaders)) {
        signIn.extras.headers.clear();
    }
    if (!isAskedFor(kKeepsMethod)) {
        return signIn;
    }
    ArchiveSignIn kept = before;
    kept.certificate = signIn.certificate;
    kept.extras = signIn.extras;
    return kept;
}

std::optional<QString>
issueWithKeeping(const ControlRequest &request, bool isKnown, const std::optional<QString> &present)
{
    if (!request.arguments.value(kKeepsMethod).toBool()) {
        return std::nullopt;
    }
    if (!isKnown) {
        return QStringLiteral("How this gateway signs in isn't known yet, since the keyring that keeps it "
                              "hasn't answered. Unlock it and try again, or name the method, too.");
    }
    const ArchiveSignIn given = cloud_client::archiveSignIn(request.arguments.value(kSignIn).toString());
    return present || !given.certificate.isEmpty() || !given.extras.headers.isEmpty()
               ? std::nullopt
               : std::optional(QStringLiteral("Nobody is signed in. Name the method, too."));
}

/// Some services want a query in an address, and it may be the key to them.
QString withoutQuery(const QString &address)
{
    const qsizetype query = address.indexOf(u'?');
    return query < 0 ? address : address.left(query) + QStringLiteral("?…");
}

QJsonObject archiveJson(const ArchiveSignIn &signIn)
{
    QJsonObject shown{{QStringLiteral("method"), cloud_client::methodName(signIn.method)}};
    const auto add = [&shown](const char *key, const QString &value) {
        if (!value.isEmpty()) {
            shown.insert(QString::fromLatin1(key), value);
        }
    };
    add("userName", signIn.userName);
    add("tokenFile", signIn.tokenFile);
    add("issuer", withoutQuery(signIn.client.issuer));
    add("tokenEndpoint", withoutQuery(signIn.client.tokenEndpoint));
    add("deviceEndpoint", withoutQuery(signIn.client.deviceEndpoint));
    add("clientId", signIn.client.id);
    add("scope", signIn.client.scope);
    add("audience", signIn.client.audience);
    if (signIn.method == Method::clientCredentials ||
        (signIn.method == Method::device && !signIn.secret.isEmpty())) {
        for (const auto &[name, place] : kPlaces) {
            add("secretIn", place == signIn.client.secretIn ? text(name) : QString());
        }
    }
    if (const auto facts = cloud_client::factsOf(signIn.certificate.chain)) {
        add("certificate", facts->name);
        add("certificateUntil", facts->notAfter.toString(Qt::ISODate));
    }
    add("queryRoot", signIn.extras.queryRoot);
    add("retrieveRoot", signIn.extras.retrieveRoot);
    add("headers", cloud_client::headerNames(signIn.extras));
    return shown;
}

QJsonObject codeJson(const cloud_client::DeviceCode &code)
{
    return {{kUserCode, code.userCode},
            {kAddress, code.address},
            {kWholeAddress, code.wholeAddress},
            {kSeconds, static_cast<qint64>(code.lifetime.count())}};
}

QString codeText(const QJsonObject &code)
{
    const QString whole = code.value(kWholeAddress).toString();
    return QStringLiteral("To let this gateway in, open %1 and enter the code %2 within %3 minutes.\n")
               .arg(code.value(kAddress).toString(), code.value(kUserCode).toString())
               .arg(qMax<qint64>(code.value(kSeconds).toInteger() / 60, 1)) +
           (whole.isEmpty() ? QString() : QStringLiteral("The address with the code in it: %1\n").arg(whole));
}

std::optional<std::chrono::seconds> codeLifetime(const QJsonObject &answer)
{
    return answer.contains(kUserCode)
               ? std::optional(std::chrono::seconds(answer.value(kSeconds).toInteger()))
               : std::nullopt;
}

QString archiveText(const QJsonObject &archive)
{
    QString told;
    for (const auto &[key, name] : kShown) {
        const QJsonValue value = archive.value(QLatin1StringView(key));
        if (value.isString()) {
            told += QStringLiteral("%1: %2\n").arg(QString::fromLatin1(name), value.toString());
        } else if (value.toBool()) {
            told += QStringLiteral("%1: yes\n").arg(QString::fromLatin1(name));
        }
    }
    return told;
}

QString trialText(const QJsonObject &trial)
{
    QString told;
    for (const auto &step : trial.value(QStringLiteral("steps")).toArray()) {
        told += QStringLiteral("%1  %2: %3\n")
                    .arg(step[u"outcome"].toString(), -6)
                    .arg(step[u"step"].toString(), step[u"words"].toString());
    }
    return told;
}

} // namespace gateway::terminal
