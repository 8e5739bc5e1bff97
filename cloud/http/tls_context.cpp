#include "cloud/http/tls_context.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

namespace gateway::cloud {

namespace {

[[noreturn]] void fail(const QString &what, const QString &path)
{
    const char *reason = ERR_reason_error_string(ERR_peek_last_error());
    throw TlsError("The " + what.toStdString() + " " + path.toStdString() +
                   " can't be used: " + (reason == nullptr ? "unreadable" : reason) + ".");
}

} // namespace

TlsContext::TlsContext(const QString &certificatePath, const QString &keyPath)
    : m_context(SSL_CTX_new(TLS_server_method()))
{
    SSL_CTX_set_min_proto_version(m_context.get(), TLS1_2_VERSION);
    if (SSL_CTX_use_certificate_chain_file(m_context.get(), certificatePath.toLocal8Bit().constData()) != 1) {
        fail(QStringLiteral("certificate"), certificatePath);
    }
    if (SSL_CTX_use_PrivateKey_file(m_context.get(), keyPath.toLocal8Bit().constData(), SSL_FILETYPE_PEM) !=
        1) {
        fail(QStringLiteral("key"), keyPath);
    }
}

TlsContext::Session TlsContext::accept(int socket) const
{
    Session session(SSL_new(m_context.get()));
    if (!session || SSL_set_fd(session.get(), socket) != 1 || SSL_accept(session.get()) != 1) {
        ERR_clear_error();
        return nullptr;
    }
    return session;
}

void TlsContext::SessionCloser::operator()(ssl_st *session) const
{
    SSL_free(session);
}

void TlsContext::ContextCloser::operator()(ssl_ctx_st *context) const
{
    SSL_CTX_free(context);
}

} // namespace gateway::cloud
