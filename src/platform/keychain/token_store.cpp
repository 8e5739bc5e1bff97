#include "platform/keychain/token_store.h"

#include "platform/concurrency/mutex.h"
#include "platform/keychain/file_token_store.h"
#include "platform/keychain/secret_service_token_store.h"

namespace gateway::platform {

namespace {

/// The one of the two that this machine has. Owner: app. Thread: as TokenStore.
class ChosenTokenStore final : public TokenStore
{
public:
    explicit ChosenTokenStore(const QString &folder) : m_service(folder), m_files(folder) {}

    TokenAnswer read(const QString &key) override
    {
        TokenStore *store = chosen();
        return store != nullptr ? store->read(key) : TokenAnswer::notReached();
    }

    bool write(const QString &key, const QByteArray &value) override
    {
        TokenStore *store = chosen();
        return store != nullptr && store->write(key, value);
    }

    bool remove(const QString &key) override
    {
        TokenStore *store = chosen();
        return store != nullptr && store->remove(key);
    }

    bool keepsPlainFiles() const override
    {
        const MutexLock lock(m_mutex);
        return m_choice == &m_files;
    }

private:
    /// Null while a secret service is there and silent.
    TokenStore *chosen()
    {
        if (TokenStore *store = choice()) {
            return store;
        }
        const auto presence = SecretServiceTokenStore::presence(); // blocks, so without the lock
        const MutexLock lock(m_mutex);
        switch (presence) {
        case SecretServiceTokenStore::Presence::answers:
            m_choice = &m_service;
            break;
        case SecretServiceTokenStore::Presence::none:
            m_choice = &m_files;
            break;
        case SecretServiceTokenStore::Presence::silent:
            break;
        }
        return m_choice;
    }

    TokenStore *choice()
    {
        const MutexLock lock(m_mutex);
        return m_choice;
    }

    SecretServiceTokenStore m_service;
    FileTokenStore m_files;
    mutable Mutex m_mutex;
    TokenStore *m_choice QUORIN_GUARDED_BY(m_mutex) = nullptr; // one of the two above
};

} // namespace

std::unique_ptr<TokenStore> makeTokenStore(const QString &fallbackFolder)
{
    return std::make_unique<ChosenTokenStore>(fallbackFolder);
}

} // namespace gateway::platform
