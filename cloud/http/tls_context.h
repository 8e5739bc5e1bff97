#pragma once

#include <QtCore/QString>

#include <memory>
#include <stdexcept>

struct ssl_ctx_st;
struct ssl_st;

namespace gateway::cloud {

/// The certificate or its key can't be used.
///
/// Thread: any; a value.
class TlsError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The server's certificate and key, from which each connection's TLS session is made. TLS 1.2 at least.
///
/// Owner: the server. Thread: any.
class TlsContext
{
public:
    struct SessionCloser
    {
        void operator()(ssl_st *session) const;
    };
    using Session = std::unique_ptr<ssl_st, SessionCloser>;

    /// \param certificatePath, keyPath  PEM files; the certificate with its chain.
    /// \throws TlsError
    TlsContext(const QString &certificatePath, const QString &keyPath);

    /// Does the handshake on a blocking socket with time limits. \return null when it failed.
    Session accept(int socket) const;

private:
    struct ContextCloser
    {
        void operator()(ssl_ctx_st *context) const;
    };

    std::unique_ptr<ssl_ctx_st, ContextCloser> m_context;
};

} // namespace gateway::cloud
