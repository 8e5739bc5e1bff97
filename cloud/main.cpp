#include "cloud/http/http_server.h"
#include "cloud/http/tls_context.h"
#include "cloud/service/cloud_service.h"
#include "platform/concurrency/clock.h"

#include <CLI/CLI.hpp>

#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace cloud = gateway::cloud;

struct CommandLine
{
    std::string listen = "127.0.0.1:8080";
    std::string data;
    std::vector<std::string> users;
    std::vector<std::string> tls;
    bool control = false;
    bool noSync = false;
};

void addOptions(CLI::App &app, CommandLine &line)
{
    app.set_version_flag("--version", QUORIN_VERSION);
    app.add_option("--listen", line.listen, "ADDRESS:PORT to listen on; port 0 takes a free one")
        ->capture_default_str();
    app.add_option("--data", line.data, "folder that keeps everything")->required();
    app.add_option("--user", line.users, "EMAIL:PASSWORD of a user; may be given several times")
        ->allow_extra_args(false);
    app.add_option("--tls", line.tls, "certificate and key, PEM files")->expected(2);
    app.add_flag("--control", line.control, "offer /control to loopback peers, for tests");
    app.add_flag("--no-sync", line.noSync, "don't wait for the disk; a power cut may lose what was answered");
}

struct Address
{
    std::string host;
    int port = 0;
};

/// `127.0.0.1:8080` or `[::1]:8080`.
Address parseAddress(const std::string &text)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) {
        throw cloud::ListenError("The address to listen on is ADDRESS:PORT.");
    }
    Address address{text.substr(0, colon), 0};
    if (address.host.starts_with('[') && address.host.ends_with(']')) {
        address.host = address.host.substr(1, address.host.size() - 2);
    }
    const std::string port = text.substr(colon + 1);
    if (port.empty() || port.find_first_not_of("0123456789") != std::string::npos || port.size() > 5) {
        throw cloud::ListenError("The port to listen on is not a number.");
    }
    address.port = std::stoi(port);
    return address;
}

void putUsers(cloud::Accounts &accounts, const std::vector<std::string> &users)
{
    for (const std::string &user : users) {
        const std::size_t colon = user.find(':');
        if (colon == std::string::npos || colon == 0 || colon + 1 == user.size()) {
            throw std::runtime_error("A user is given as EMAIL:PASSWORD.");
        }
        accounts.putUser(QString::fromStdString(user.substr(0, colon)),
                         QString::fromStdString(user.substr(colon + 1)));
    }
}

void announce(const CommandLine &line, int port)
{
    const std::string host = line.listen.substr(0, line.listen.rfind(':'));
    std::printf("listening on %s://%s:%d\n", line.tls.empty() ? "http" : "https", host.c_str(), port);
    std::fflush(stdout);
}

int serve(const CommandLine &line, const sigset_t &endSignals)
{
    std::optional<cloud::TlsContext> tls;
    if (!line.tls.empty()) {
        tls.emplace(QString::fromStdString(line.tls[0]), QString::fromStdString(line.tls[1]));
    }
    const gateway::platform::SystemClock clock;
    cloud::CloudService *service = nullptr;
    cloud::HttpServer server([&service](cloud::Exchange &exchange) { service->handle(exchange); },
                             tls ? &*tls : nullptr);
    const cloud::CloudService::Options options{QString::fromStdString(line.data), line.control, !line.noSync};
    cloud::CloudService whole(options, clock, [&server] { return server.counts(); });
    service = &whole;
    putUsers(whole.accounts(), line.users);
    const Address address = parseAddress(line.listen);
    const int port = server.bind(address.host, address.port);

    std::thread runner([&server] { server.run(); });
    announce(line, port);
    int signal = 0;
    sigwait(&endSignals, &signal);
    server.stop();
    runner.join();
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    CommandLine line;
    CLI::App app("A small cloud service for Quorin Gateway: accounts and a DICOMweb archive.",
                 "quorin-cloud");
    addOptions(app, line);
    CLI11_PARSE(app, argc, argv);

    // Blocked before any thread starts, so that only the wait below takes them.
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGTERM);
    sigaddset(&endSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);
    // TLS writes to closed sockets would otherwise end the process.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return serve(line, endSignals);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "quorin-cloud: %s\n", error.what());
        return 1;
    }
}
