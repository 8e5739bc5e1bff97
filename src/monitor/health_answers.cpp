#include "monitor/health_answers.h"

#include "monitor/health_verdict.h"

#include <algorithm>
#include <cstring>

#include <httplib.h>

namespace gateway::monitor {

namespace {

constexpr const char *kPlainText = "text/plain; charset=utf-8";

/// One request and the room for its answer, in place of a socket.
class MemoryStream final : public httplib::Stream
{
public:
    explicit MemoryStream(std::string_view request) : m_unread(request) {}

    const std::string &written() const { return m_written; }

    bool is_readable() const override { return !m_unread.empty(); }
    bool is_writable() const override { return true; }

    ssize_t read(char *data, size_t size) override
    {
        const std::size_t count = std::min(size, m_unread.size());
        std::memcpy(data, m_unread.data(), count);
        m_unread.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char *data, size_t size) override
    {
        m_written.append(data, size);
        return static_cast<ssize_t>(size);
    }

    void get_remote_ip_and_port(std::string &, int &) const override {}
    void get_local_ip_and_port(std::string &, int &) const override {}
    socket_t socket() const override { return -1; }

private:
    std::string_view m_unread;
    std::string m_written;
};

void answerWith(httplib::Response &response,
                int status,
                const QByteArray &text,
                const char *type = kPlainText)
{
    response.status = status;
    response.set_header("Cache-Control", "no-store");
    response.set_content(text.toStdString(), type);
}

void answerHealth(httplib::Response &response, const MetricsView &view)
{
    const HealthVerdict verdict =
        view.isMainLoopAnswering && view.figures ? verdictOn(*view.figures) : verdictOnSilence();
    answerWith(response, verdict.isHealthy ? 200 : 503, verdict.sentence.toUtf8() + '\n');
}

std::string refusal(std::string_view status)
{
    return "HTTP/1.1 " + std::string(status) + "\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
}

} // namespace

/// The library's reading of requests and writing of answers, without its sockets and threads.
class HealthAnswers::Engine final : public httplib::Server
{
public:
    Engine()
    {
        set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
            handle(request, response);
            return HandlerResponse::Handled;
        });
    }

    std::string serve(std::string_view head, const MetricsView &view)
    {
        m_view = &view;
        MemoryStream stream(head);
        bool isClosed = false;
        // The whole text is always sent: parts of a page that is new each time make no sense.
        process_request(stream, true, isClosed, [](httplib::Request &request) { request.ranges.clear(); });
        m_view = nullptr;
        return stream.written().empty() ? refusal("400 Bad Request") : stream.written();
    }

private:
    void handle(const httplib::Request &request, httplib::Response &response) const
    {
        if (request.method != "GET" && request.method != "HEAD") {
            response.set_header("Allow", "GET, HEAD");
            answerWith(response, 405, "Only GET and HEAD are taken here.\n");
        } else if (request.path == "/metrics") {
            answerWith(response, 200, prometheusText(*m_view), kPrometheusContentType);
        } else if (request.path == "/healthz") {
            answerHealth(response, *m_view);
        } else {
            answerWith(response, 404, "Here are /metrics and /healthz.\n");
        }
    }

    const MetricsView *m_view = nullptr; // of the request at hand
};

HealthAnswers::HealthAnswers() : m_engine(std::make_unique<Engine>()) {}

HealthAnswers::~HealthAnswers() = default;

std::string HealthAnswers::answer(std::string_view head, const MetricsView &view)
{
    return m_engine->serve(head, view);
}

std::string HealthAnswers::tooLong()
{
    return refusal("431 Request Header Fields Too Large");
}

std::string HealthAnswers::tooSlow()
{
    return refusal("408 Request Timeout");
}

} // namespace gateway::monitor
