#pragma once

#include "platform/keychain/token_store.h"

namespace gateway::platform {

class FileSystem;

/// Keeps each secret in a file of its own, named after a hash of its key.
///
/// The folder and the files are their owner's alone from the moment they are made; a write survives a power
/// cut and replaces the old secret whole or not at all. Owner: app. Thread: any.
class FileTokenStore final : public TokenStore
{
public:
    /// \param folder  made at the first write.
    explicit FileTokenStore(QString folder);
    FileTokenStore(QString folder, FileSystem &files);

    TokenAnswer read(const QString &key) override;
    bool write(const QString &key, const QByteArray &value) override;
    bool remove(const QString &key) override;

private:
    QString pathOf(const QString &key) const;

    const QString m_folder;
    FileSystem &m_files;
};

} // namespace gateway::platform
