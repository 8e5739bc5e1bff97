#include "platform/keychain/token_store.h"

#include "platform/keychain/file_token_store.h"
#include "platform/keychain/secret_service_token_store.h"

namespace gateway::platform {

std::unique_ptr<TokenStore> makeTokenStore(const QString &fallbackFolder)
{
    if (SecretServiceTokenStore::answers()) {
        return std::make_unique<SecretServiceTokenStore>(fallbackFolder);
    }
    return std::make_unique<FileTokenStore>(fallbackFolder);
}

} // namespace gateway::platform
