#pragma once

#include <sys/resource.h>

namespace gateway::receive::testing {

/// While this lives, the process can open nothing more, whoever runs it: neither a file nor a folder.
///
/// Owner: a test. Thread: one at a time.
class NoOpenFiles
{
public:
    NoOpenFiles()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoOpenFiles() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

    NoOpenFiles(const NoOpenFiles &) = delete;
    NoOpenFiles &operator=(const NoOpenFiles &) = delete;

private:
    rlimit m_before = {};
};

} // namespace gateway::receive::testing
