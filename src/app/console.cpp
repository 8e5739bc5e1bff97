#include "app/console.h"

#include <cstdio>
#include <iostream>
#include <string>

#include <termios.h>
#include <unistd.h>

namespace gateway::app {

namespace {

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

void printError(const QString &sentence)
{
    const QByteArray line = sentence.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
}

QString readSecret()
{
    const HiddenInput hidden;
    if (hidden.isTerminal()) {
        std::fputs("Password: ", stderr);
    }
    std::string line;
    std::getline(std::cin, line);
    if (hidden.isTerminal()) {
        std::fputc('\n', stderr);
    }
    return QString::fromStdString(line);
}

} // namespace gateway::app
