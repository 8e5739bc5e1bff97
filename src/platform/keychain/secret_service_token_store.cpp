#include "platform/keychain/secret_service_token_store.h"

#include <libsecret/secret.h>

#include <utility>

namespace gateway::platform {

namespace {

/// What tells our secrets from everybody else's.
const SecretSchema *schema()
{
    static const SecretSchema schema{"com.ovelt.QuorinGateway.Token",
                                     SECRET_SCHEMA_NONE,
                                     {{"home", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"key", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                     0,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr};
    return &schema;
}

/// Takes the error of a call, which goes no further than "it didn't work".
class Refusal
{
public:
    Refusal() = default;
    ~Refusal() { g_clear_error(&m_error); }
    Refusal(const Refusal &) = delete;
    Refusal &operator=(const Refusal &) = delete;

    GError **out() { return &m_error; }
    bool isSet() const { return m_error != nullptr; }

    /// Somebody was asked and didn't answer, as opposed to: there is nobody.
    bool isSilence() const
    {
        return g_error_matches(m_error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
               g_error_matches(m_error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT) ||
               g_error_matches(m_error, G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT) ||
               g_error_matches(m_error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
    }

private:
    GError *m_error = nullptr;
};

/// For the length of one call; the library keeps its session with the service otherwise, also when the
/// service has died and come back.
class Conversation
{
public:
    Conversation() = default;
    ~Conversation() { secret_service_disconnect(); }
    Conversation(const Conversation &) = delete;
    Conversation &operator=(const Conversation &) = delete;
};

struct ValueDeleter
{
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
using Value = std::unique_ptr<SecretValue, ValueDeleter>;

} // namespace

SecretServiceTokenStore::SecretServiceTokenStore(QString home) : m_home(std::move(home)) {}

SecretServiceTokenStore::Presence SecretServiceTokenStore::presence()
{
    const Conversation conversation;
    Refusal refusal;
    SecretService *service = secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, refusal.out());
    g_clear_object(&service);
    if (!refusal.isSet()) {
        return Presence::answers;
    }
    return refusal.isSilence() ? Presence::silent : Presence::none;
}

TokenAnswer SecretServiceTokenStore::read(const QString &key)
{
    const Conversation conversation;
    Refusal refusal;
    const Value value(secret_password_lookup_binary_sync(schema(),
                                                         nullptr,
                                                         refusal.out(),
                                                         "home",
                                                         m_home.toUtf8().constData(),
                                                         "key",
                                                         key.toUtf8().constData(),
                                                         nullptr));
    if (!value) {
        return refusal.isSet() || isThereUnread(key) ? TokenAnswer::notReached() : TokenAnswer::absent();
    }
    gsize size = 0;
    const gchar *bytes = secret_value_get(value.get(), &size);
    return TokenAnswer::found(QByteArray(bytes, static_cast<qsizetype>(size)));
}

/// A keyring that stayed locked gives no value and no error; its items can be seen all the same.
bool SecretServiceTokenStore::isThereUnread(const QString &key) const
{
    Refusal refusal;
    GList *items = secret_password_search_sync(schema(),
                                               SECRET_SEARCH_NONE,
                                               nullptr,
                                               refusal.out(),
                                               "home",
                                               m_home.toUtf8().constData(),
                                               "key",
                                               key.toUtf8().constData(),
                                               nullptr);
    const bool isThere = items != nullptr;
    g_list_free_full(items, g_object_unref);
    return isThere || refusal.isSet();
}

bool SecretServiceTokenStore::write(const QString &key, const QByteArray &value)
{
    const Conversation conversation;
    Refusal refusal;
    const Value secret(
        secret_value_new(value.constData(), static_cast<gssize>(value.size()), "application/octet-stream"));
    return secret_password_store_binary_sync(schema(),
                                             SECRET_COLLECTION_DEFAULT,
                                             "Quorin Gateway",
                                             secret.get(),
                                             nullptr,
                                             refusal.out(),
                                             "home",
                                             m_home.toUtf8().constData(),
                                             "key",
                                             key.toUtf8().constData(),
                                             nullptr) != 0;
}

bool SecretServiceTokenStore::remove(const QString &key)
{
    const Conversation conversation;
    Refusal refusal;
    const bool removed = secret_password_clear_sync(schema(),
                                                    nullptr,
                                                    refusal.out(),
                                                    "home",
                                                    m_home.toUtf8().constData(),
                                                    "key",
                                                    key.toUtf8().constData(),
                                                    nullptr) != 0;
    return removed || !refusal.isSet(); // without an error there was nothing to remove
}

} // namespace gateway::platform
