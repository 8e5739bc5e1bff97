#include "terminal/client/console.h"

#include <QtCore/QJsonDocument>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <string>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace gateway::terminal {

namespace {

// Raised when a key goes or changes its meaning; a new key raises nothing.

/// Keeps a terminal from showing what is typed, as long as it lives.
class HiddenInput
{
public:
    HiddenInput() : m_isTerminal(::tcgetattr(STDIN_FILENO, &m_before) == 0)
    {
        if (m_isTerminal) {
            termios hidden = m_before;
            hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
        }
    }

    ~HiddenInput()
    {
        if (m_isTerminal) {
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        }
    }

    HiddenInput(const HiddenInput &) = delete;
    HiddenInput &operator=(const HiddenInput &) = delete;

    bool isTerminal() const { return m_isTerminal; }

private:
    termios m_before{};
    bool m_isTerminal;
};

} // namespace

void printOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

QString jsonLine(QJsonObject answer)
{
    answer.insert(QStringLiteral("schema"), kJsonSchema);
    return QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact)) + u'\n';
}

int writeOut(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t step = ::write(STDOUT_FILENO, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (step >= 0) {
            bytes = bytes.sliced(step);
        } else if (errno == EAGAIN) {
            // Whoever shares the terminal may have made it so that it doesn't wait.
            pollfd output{STDOUT_FILENO, POLLOUT, 0};
            ::poll(&output, 1, -1);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

bool outputIsGone()
{
    pollfd output{STDOUT_FILENO, 0, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

void printError(const QString &sentence)
{
    const QByteArray line = sentence.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
}

QString readSecret(const QString &prompt)
{
    const HiddenInput hidden;
    if (hidden.isTerminal()) {
        std::fputs((prompt + QStringLiteral(": ")).toUtf8().constData(), stderr);
    }
    std::string line;
    std::getline(std::cin, line);
    if (hidden.isTerminal()) {
        std::fputc('\n', stderr);
    }
    return QString::fromStdString(line);
}

} // namespace gateway::terminal
