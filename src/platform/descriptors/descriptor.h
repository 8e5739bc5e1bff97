#pragma once

#include <utility>

#include <unistd.h>

namespace gateway::platform {

/// Owns one descriptor of the operating system: a file, a socket, an event. Thread: a plain value.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        if (this != &other) {
            close();
            m_value = std::exchange(other.m_value, -1);
        }
        return *this;
    }

    bool isOpen() const { return m_value >= 0; }
    int get() const { return m_value; }

    /// Hands the descriptor over to the caller.
    int release() { return std::exchange(m_value, -1); }

    /// Closes once: Linux frees the descriptor even where it reports an interruption.
    ///
    /// \return what close(2) says; 0 when nothing was open.
    int close() { return m_value < 0 ? 0 : ::close(release()); }

private:
    int m_value = -1;
};

} // namespace gateway::platform
