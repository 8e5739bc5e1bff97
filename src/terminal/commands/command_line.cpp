#include "terminal/commands/command_line.h"

#include <CLI/CLI.hpp>

#include <QtCore/QDate>

#include <map>
#include <string>
#include <vector>

namespace gateway::terminal {

namespace {

constexpr int kBadUsage = 2;

/// What CLI11 fills in, in its own types.
struct Raw
{
    std::string home, cloud, cloudKind, bind, metrics;
    bool headless = false;
    std::string aeTitle, port, incoming, autoDelete;
    bool noBonjour = false;
    std::string email;
    bool noAuth = false;
    bool json = false, watch = false;
    std::string level = "all", category = "all", searchText, image;
    bool follow = false;
    long long lines = 0;
    std::string since;
    bool repair = false;
    std::string key, value, file;
    std::string description;
    bool reproducible = false, duringImport = false, duringOpening = false;
    std::vector<std::string> attachments;
    std::vector<std::string> paths;
    std::vector<std::string> helpTopic;
    std::string search, study;
    bool failed = false, yes = false;
    long long expected = 0;
    std::map<std::string, std::string> filters;
    std::vector<std::string> targets;
    ArchiveOptions archive = {};
};

/// The filters of a query of the cloud.
constexpr struct
{
    const char *name;
    const char *help;
} kFilters[] = {{"patient-name", "The patient's name; * stands for any letters"},
                {"patient-id", "The patient's ID"},
                {"accession", "The accession number"},
                {"description", "The study's description"},
                {"physician", "The referring physician"},
                {"institution", "The institution"},
                {"modality", "A modality in the study, such as CT"}};

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

std::optional<QString> optionalText(const std::string &value)
{
    return value.empty() ? std::nullopt : std::optional(text(value));
}

void addGlobalOptions(CLI::App &app, Raw &raw)
{
    app.add_option("--home", raw.home, "Keep everything below this folder")
        ->envname("QUORIN_GATEWAY_HOME")
        ->type_name("DIR");
    app.add_option("--cloud", raw.cloud, "Base address of the cloud service")->type_name("URL");
    app.add_option("--cloud-kind", raw.cloudKind, "What stands behind that address: quorin or dicomweb")
        ->type_name("KIND")
        ->check(CLI::IsMember({"quorin", "dicomweb"}).description(""));
    app.add_option("--bind", raw.bind, "Address that the DICOM listener binds; all interfaces without it")
        ->envname("QUORIN_GATEWAY_BIND")
        ->type_name("ADDRESS")
        ->check(CLI::ValidIPV4.description(""));
    app.add_option("--metrics", raw.metrics, "Serve /metrics and /healthz over HTTP there, too")
        ->envname("QUORIN_GATEWAY_METRICS")
        ->type_name("ADDRESS:PORT")
        ->check([](const std::string &value) {
            return platform::parseSocketAddress(text(value))
                       ? std::string()
                       : "takes a numeric address and a port, such as 127.0.0.1:9464";
        });
    app.add_flag("--headless", raw.headless, "Run the gateway without a display");
    app.set_version_flag("-V,--version", "quorin-gateway " QUORIN_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
}

void addSetup(CLI::App &app, Raw &raw)
{
    CLI::App *setup = app.add_subcommand(
        "setup", "Check the settings, apply them and start the listener; what isn't given stays as it is");
    setup->add_option("--ae-title", raw.aeTitle, "AE title of the listener")->required()->type_name("T");
    setup->add_option("--port", raw.port, "TCP port of the listener")->required()->type_name("N");
    setup->add_option("--incoming", raw.incoming, "Folder for incoming files")->type_name("DIR");
    setup->add_option("--auto-delete", raw.autoDelete, "never, N-days or N-months after the upload")
        ->type_name("WHEN");
    setup->add_flag("--no-bonjour", raw.noBonjour, "Don't announce the listener on the local network");
}

void addLogs(CLI::App &app, Raw &raw)
{
    CLI::App *logs = app.add_subcommand("logs", "Show what the gateway did, oldest first");
    CLI::Option *image =
        logs->add_option("--image", raw.image, "The life of one image alone, by any of its hashes in the log")
            ->type_name("HASH");
    logs->add_option("-n,--lines", raw.lines, "Of what is there only the newest N lines")
        ->type_name("N")
        ->check(CLI::PositiveNumber.description(""))
        ->excludes(image);
    logs->add_option(
            "--since", raw.since, "Only what is younger: 90m, 12h, 7d, or a local time as 2026-01-31T08:00")
        ->type_name("TIME")
        ->excludes(image);
    logs->add_flag("--follow", raw.follow, "Go on with what is added, until interrupted")->excludes(image);
    logs->add_option("--level", raw.level, "all, debug, info, warning or error")
        ->type_name("L")
        ->excludes(image);
    logs->add_option("--category", raw.category, "all, listener, receive, send, uploadQueue or quorinCloud")
        ->type_name("C")
        ->excludes(image);
    logs->add_option("--search", raw.searchText, "Text in action, hashes, correlation, error or details")
        ->type_name("TEXT")
        ->excludes(image);
    logs->add_flag("--json", raw.json, "As the log files have it, one JSON object a line");
}

void addDoctor(CLI::App &app, Raw &raw)
{
    CLI::App *doctor = app.add_subcommand("doctor", "Say what is wrong with the kept images, and mend it");
    doctor->add_flag("--repair", raw.repair, "Mend what can be mended; no image is ever removed");
    doctor->add_flag("--json", raw.json, "As one JSON object");
    CLI::App *conformance =
        app.add_subcommand("conformance", "Print the DICOM conformance statement of these settings");
    conformance->add_flag("--json", raw.json, "Its figures as one JSON object");
}

void addOthers(CLI::App &app, Raw &raw)
{
    CLI::App *signIn =
        app.add_subcommand("sign-in", "Sign in to the cloud; the password comes on standard input");
    signIn->add_option("--email", raw.email, "The account's e-mail address, or an archive's user name")
        ->type_name("E");
    signIn->add_flag("--no-auth", raw.noAuth, "An archive that wants no user name and no password");
    signIn->require_option(1);
    app.add_subcommand("sign-out", "End the cloud session");
    app.add_subcommand("upload", "Ask for an upload run");
    CLI::App *import = app.add_subcommand("import", "Import files, folders and archives (zip, rar)");
    import->add_option("PATH", raw.paths, "What to import")->required();
    import->add_flag("--json", raw.json, "The summary as one JSON object");
    CLI::App *status = app.add_subcommand("status", "Tell how the gateway does");
    status->add_flag("--json", raw.json, "As one JSON object");
    status->add_flag("--watch", raw.watch, "Again every two seconds, until interrupted");

    CLI::App *settings = app.add_subcommand("settings", "Show and change the settings");
    settings->require_subcommand(1);
    CLI::App *list = settings->add_subcommand("list", "Show all settings");
    CLI::App *get = settings->add_subcommand("get", "Show one setting");
    get->add_option("KEY", raw.key, "The setting")->required();
    CLI::App *set = settings->add_subcommand("set", "Change one setting");
    set->add_option("KEY", raw.key, "The setting")->required();
    set->add_option("VALUE", raw.value, "Its new value")->required();
    CLI::App *exported =
        settings->add_subcommand("export", "Write all settings into a file, for another gateway");
    CLI::App *imported = settings->add_subcommand("import", "Take settings from such a file, all or none");
    for (CLI::App *action : {exported, imported}) {
        action->add_option("FILE", raw.file, "The file, in JSON")->required();
    }
    for (CLI::App *action : {list, get, set, imported}) {
        action->add_flag("--json", raw.json, "As one JSON object");
    }

    CLI::App *help = app.add_subcommand("help", "Print the help of a command");
    help->add_option("COMMAND", raw.helpTopic, "The command, and a command of it");
    app.add_subcommand("version", "Print the version");
}

void addTerms(CLI::App &app, Raw &raw)
{
    CLI::App *terms = app.add_subcommand("terms", "Read and answer the cloud's Terms & Conditions");
    terms->require_subcommand(1);
    CLI::App *show = terms->add_subcommand("show", "Show them, and whether they must be accepted");
    show->add_flag("--json", raw.json, "As one JSON object");
    terms->add_subcommand("accept", "Accept the version shown last");
    terms->add_subcommand("decline", "Decline the version shown last, and sign out");
}

void addAccount(CLI::App &app, Raw &raw)
{
    CLI::App *account = app.add_subcommand("account", "Show and change the cloud account");
    account->require_subcommand(1);
    CLI::App *show = account->add_subcommand("show", "Show the profile");
    show->add_flag("--json", raw.json, "As one JSON object");
    CLI::App *set = account->add_subcommand("set", "Change one text of the profile");
    set->add_option("KEY", raw.key, "Such as firstName; show names them all")->required();
    set->add_option("VALUE", raw.value, "Its new value; an empty one clears it")->required();
    account->add_subcommand("password",
                            "Change the password; the current one, the new one and the new one again come "
                            "on three lines of standard input");
}

/// An empty name would stand for more than was meant: all that it would have narrowed.
std::string faultInName(const std::string &value)
{
    return text(value).trimmed().isEmpty() ? "is empty" : std::string();
}

/// By PS3.5 9.1. What the cloud is asked to delete is named so; rows of this computer may have other names.
std::string faultInUid(const std::string &value)
{
    constexpr std::size_t kLongest = 64;
    const bool isOne = !value.empty() && value.size() <= kLongest &&
                       value.find_first_not_of("0123456789.") == std::string::npos;
    return isOne ? std::string() : "takes a UID: digits and dots, 64 at most";
}

/// What the two browsers have in common.
///
/// \param faultIn  tells what is wrong with the name of a study or series.
void addBrowser(CLI::App &browser,
                Raw &raw,
                const char *deleteHelp,
                std::string (*faultIn)(const std::string &name))
{
    browser.require_subcommand(1);
    CLI::App *studies = browser.add_subcommand("studies", "List the studies");
    CLI::App *series = browser.add_subcommand("series", "List the series of a study");
    series->add_option("STUDY", raw.study, "The study's UID")->required()->check(faultIn);
    for (CLI::App *list : {studies, series}) {
        list->add_option("--search", raw.search, "Only rows with this text")->type_name("TEXT");
        list->add_flag("--json", raw.json, "As one JSON object");
    }
    CLI::App *deletion = browser.add_subcommand("delete", deleteHelp);
    deletion->add_option("UID", raw.targets, "Studies; with --study, series of that study")
        ->required()
        ->check(faultIn);
    deletion->add_option("--study", raw.study, "Delete series of this study")
        ->type_name("STUDY")
        ->check(faultIn);
    CLI::Option *yes = deletion->add_flag("--yes", raw.yes, "Delete for good; needs --expect");
    CLI::Option *expect =
        deletion->add_option("--expect", raw.expected, "How many are to be deleted")->type_name("N");
    yes->needs(expect);
    expect->needs(yes);
    deletion->add_flag("--json", raw.json, "As one JSON object");
}

std::string faultInDate(const std::string &value)
{
    return QDate::fromString(text(value), Qt::ISODate).isValid() ? std::string()
                                                                 : "takes a date, such as 2026-01-31";
}

void addCloud(CLI::App &app, Raw &raw)
{
    CLI::App *cloud = app.add_subcommand("cloud", "Look at what the cloud holds, and delete of it");
    addBrowser(*cloud, raw, "Delete from the cloud; copies on this computer stay", faultInUid);
    CLI::App *studies = cloud->get_subcommand("studies");
    for (const auto &[name, help] : kFilters) {
        studies->add_option("--" + std::string(name), raw.filters[name], help)->type_name("TEXT");
    }
    studies->add_option("--birth-date", raw.filters["birth-date"], "The patient's date of birth")
        ->type_name("DATE")
        ->check(faultInDate);
    studies->add_option("--study-date", raw.filters["study-date"], "The day: today, yesterday or a date")
        ->type_name("DATE")
        ->check([](const std::string &value) {
            return value == "today" || value == "yesterday" ? std::string() : faultInDate(value);
        });
}

void addLocal(CLI::App &app, Raw &raw)
{
    CLI::App *local = app.add_subcommand("local", "Look at what this computer holds, and delete of it");
    addBrowser(*local, raw, "Delete from this computer; copies in the cloud stay", faultInName);
    local->get_subcommand("studies")->add_flag(
        "--failed", raw.failed, "Only studies with images whose upload failed");
}

void addReport(CLI::App &app, Raw &raw)
{
    CLI::App *report = app.add_subcommand("report", "Report a bug to the cloud service");
    report->add_option("--description", raw.description, "Steps to reproduce it, and what was expected")
        ->required()
        ->type_name("TEXT");
    report->add_flag("--reproducible", raw.reproducible, "It happens again");
    report->add_flag("--during-import", raw.duringImport, "It happened during import; needs a file");
    report->add_flag("--during-opening", raw.duringOpening, "It happened during opening; needs a file");
    report->add_option("--attach", raw.attachments, "A file to send along; may be given several times")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("FILE");
}

TermsCommand termsCommand(const CLI::App &terms, const Raw &raw)
{
    if (terms.got_subcommand("accept")) {
        return {TermsCommand::Action::accept, false};
    }
    return {terms.got_subcommand("decline") ? TermsCommand::Action::decline : TermsCommand::Action::show,
            raw.json};
}

AccountCommand accountCommand(const CLI::App &account, const Raw &raw)
{
    if (account.got_subcommand("set")) {
        return {AccountCommand::Action::set, false, text(raw.key), text(raw.value)};
    }
    return {account.got_subcommand("password") ? AccountCommand::Action::password
                                               : AccountCommand::Action::show,
            raw.json,
            {},
            {}};
}

ReportCommand reportCommand(const Raw &raw)
{
    ReportCommand report{text(raw.description), raw.reproducible, raw.duringImport, raw.duringOpening, {}};
    for (const std::string &path : raw.attachments) {
        report.attachments.append(text(path));
    }
    return report;
}

LogsCommand logsCommand(const CLI::App &logs, const Raw &raw)
{
    const bool hasImage = logs.count("--image") > 0; // also an empty one, which is a mistake to be told
    return {text(raw.level),
            text(raw.category),
            text(raw.searchText),
            hasImage ? std::optional(text(raw.image)) : std::nullopt,
            raw.json,
            raw.follow,
            raw.lines > 0 ? std::optional(qint64{raw.lines}) : std::nullopt,
            text(raw.since)};
}

BrowserCommand browserCommand(BrowserCommand::Place place, const CLI::App &browser, const Raw &raw)
{
    using Action = BrowserCommand::Action;
    BrowserCommand command{.place = place,
                           .action = browser.got_subcommand("studies")  ? Action::studies
                                     : browser.got_subcommand("series") ? Action::series
                                                                        : Action::deletion,
                           .asJson = raw.json,
                           .searchText = text(raw.search),
                           .failuresOnly = raw.failed,
                           .study = text(raw.study),
                           .isConfirmed = raw.yes};
    for (const auto &[name, value] : raw.filters) {
        if (!value.empty()) {
            command.filters.insert(text(name), text(value));
        }
    }
    for (const std::string &target : raw.targets) {
        command.targets.append(text(target));
    }
    if (raw.yes) {
        command.expected = raw.expected;
    }
    return command;
}

SettingsCommand settingsCommand(const CLI::App &settings, const Raw &raw)
{
    SettingsCommand command;
    if (settings.got_subcommand("get")) {
        command.action = SettingsCommand::Action::get;
    } else if (settings.got_subcommand("set")) {
        command.action = SettingsCommand::Action::set;
    } else if (settings.got_subcommand("export")) {
        command.action = SettingsCommand::Action::exportFile;
    } else if (settings.got_subcommand("import")) {
        command.action = SettingsCommand::Action::importFile;
    }
    command.key = text(raw.key);
    command.value = text(raw.value);
    command.file = text(raw.file);
    command.asJson = raw.json;
    return command;
}

ImportCommand importCommand(const Raw &raw)
{
    ImportCommand command{{}, raw.json};
    for (const std::string &path : raw.paths) {
        command.paths.append(text(path));
    }
    return command;
}

Command command(const CLI::App &app, const Raw &raw)
{
    if (app.got_subcommand("setup")) {
        return SetupCommand{text(raw.aeTitle),
                            text(raw.port),
                            optionalText(raw.incoming),
                            optionalText(raw.autoDelete),
                            raw.noBonjour};
    }
    if (app.got_subcommand("sign-in")) {
        return SignInCommand{text(raw.email), raw.noAuth};
    }
    if (app.got_subcommand("sign-out")) {
        return SignOutCommand{};
    }
    if (app.got_subcommand("upload")) {
        return UploadCommand{};
    }
    if (app.got_subcommand("import")) {
        return importCommand(raw);
    }
    if (app.got_subcommand("status")) {
        return StatusCommand{raw.json, raw.watch};
    }
    if (app.got_subcommand("settings")) {
        return settingsCommand(*app.get_subcommand("settings"), raw);
    }
    if (app.got_subcommand("doctor")) {
        return DoctorCommand{raw.repair, raw.json};
    }
    if (app.got_subcommand("conformance")) {
        return ConformanceCommand{raw.json};
    }
    if (app.got_subcommand("logs")) {
        return logsCommand(*app.get_subcommand("logs"), raw);
    }
    if (app.got_subcommand("terms")) {
        return termsCommand(*app.get_subcommand("terms"), raw);
    }
    if (app.got_subcommand("account")) {
        return accountCommand(*app.get_subcommand("account"), raw);
    }
    if (app.got_subcommand("archive")) {
        return raw.archive.command(*app.get_subcommand("archive"));
    }
    if (app.got_subcommand("report")) {
        return reportCommand(raw);
    }
    if (app.got_subcommand("cloud")) {
        return browserCommand(BrowserCommand::Place::cloud, *app.get_subcommand("cloud"), raw);
    }
    if (app.got_subcommand("local")) {
        return browserCommand(BrowserCommand::Place::local, *app.get_subcommand("local"), raw);
    }
    if (raw.headless) {
        return RunHeadless{};
    }
    return RunDesktop{};
}

/// \param topic  the names of a command and, maybe, of one below it; none for the program.
CommandLineEnd helpOn(const CLI::App &app, const std::vector<std::string> &topic)
{
    const CLI::App *described = &app;
    std::string name = app.get_name();
    for (const std::string &word : topic) {
        const std::vector<const CLI::App *> found = described->get_subcommands(
            [&word](const CLI::App *command) { return command->get_name() == word; });
        name += " " + word;
        if (found.empty()) {
            return {kBadUsage, QStringLiteral("There is no command %1.\n").arg(text(name))};
        }
        described = found.front();
    }
    // Not by help(), which would describe the command that was chosen: help itself, where it was help.
    return {0, text(described->get_formatter()->make_help(described, name, CLI::AppFormatMode::Normal))};
}

/// The commands of a command line, as far as they were understood.
std::vector<std::string> chosenCommands(const CLI::App &app)
{
    std::vector<std::string> names;
    const CLI::App *at = &app;
    while (!at->get_subcommands().empty()) {
        at = at->get_subcommands().front();
        names.push_back(at->get_name());
    }
    return names;
}

} // namespace

std::variant<Invocation, CommandLineEnd> parseCommandLine(const QStringList &arguments)
{
    Raw raw;
    CLI::App app("A DICOM gateway: takes images over the network, keeps them safe, sends them to the cloud.",
                 "quorin-gateway");
    app.require_subcommand(0, 1);
    app.fallthrough();
    addGlobalOptions(app, raw);
    addSetup(app, raw);
    addOthers(app, raw);
    addLogs(app, raw);
    addTerms(app, raw);
    addAccount(app, raw);
    raw.archive.add(app);
    addReport(app, raw);
    addDoctor(app, raw);
    addCloud(app, raw);
    addLocal(app, raw);

    // CLI11 takes the arguments last first.
    std::vector<std::string> reversed;
    for (auto argument = arguments.crbegin(); argument != arguments.crend(); ++argument) {
        reversed.push_back(argument->toStdString());
    }
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp &) {
        return helpOn(app, chosenCommands(app));
    } catch (const CLI::CallForVersion &version) {
        return CommandLineEnd{0, text(version.what()) + u'\n'};
    } catch (const CLI::ParseError &error) {
        return CommandLineEnd{
            kBadUsage,
            QStringLiteral("%1\nRun quorin-gateway --help for the usage.\n").arg(text(error.what()))};
    }
    if (app.got_subcommand("help")) {
        return helpOn(app, raw.helpTopic);
    }
    if (app.got_subcommand("version")) {
        return CommandLineEnd{0, text(app.version()) + u'\n'};
    }
    GlobalOptions options{optionalText(raw.home),
                          optionalText(raw.cloud),
                          optionalText(raw.cloudKind),
                          text(raw.bind),
                          platform::parseSocketAddress(text(raw.metrics))};
    return Invocation{std::move(options), command(app, raw)};
}

} // namespace gateway::terminal
