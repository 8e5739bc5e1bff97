#pragma once

#include "index/db_service.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QFile>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <cerrno>
#include <optional>

namespace gateway::receive::testing {

/// An index that keeps the contents of what it imports, and fails on demand. A content that begins with
/// "DICM" is readable.
///
/// Thread: any.
class FakeImports final : public index::DBServiceProtocol
{
public:
    /// Where it says that each file lies now.
    inline static const QUrl kStored = QUrl::fromLocalFile(QStringLiteral("/store/10000/0.dcm"));

    index::ImportedFileSummary importFile(const QUrl &url) override
    {
        using Error = index::GatewayImportError;
        const platform::MutexLock lock(m_mutex);
        ++m_attempts;
        m_changed.notifyAll();
        while (url.toLocalFile() == m_held) {
            m_changed.wait(m_mutex);
        }
        QFile file(url.toLocalFile());
        if (m_hasNoStorage || !file.open(QIODevice::ReadOnly)) {
            throw Error(Error::Kind::copyToTemporaryFailed,
                        Error::Blame::storage,
                        QStringLiteral("No space left on device"));
        }
        if (m_unreadable > 0) {
            --m_unreadable;
            throw Error(
                Error::Kind::dicomParseFailed, Error::Blame::reading, QStringLiteral("no bytes"), EIO);
        }
        const QByteArray content = file.readAll();
        if (!content.startsWith("DICM")) {
            throw Error(Error::Kind::dicomParseFailed, Error::Blame::file);
        }
        m_imported.insert(content);
        return {
            QStringLiteral("patient"), QStringLiteral("study"), {QStringLiteral("series0")}, {}, kStored, {}};
    }

    /// Whether what it imported is kept without the source; nothing where it can't tell.
    std::optional<bool> isKept() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_isKept;
    }

    void setKept(std::optional<bool> isKept)
    {
        const platform::MutexLock lock(m_mutex);
        m_isKept = isKept;
    }

    /// The import of this file doesn't end, until another one is named, or none.
    void hold(const QString &path)
    {
        const platform::MutexLock lock(m_mutex);
        m_held = path;
        m_changed.notifyAll();
    }

    /// Every import fails for want of storage, until told otherwise.
    void setNoStorage(bool none)
    {
        const platform::MutexLock lock(m_mutex);
        m_hasNoStorage = none;
    }

    /// The next so many imports of a file that is there can't read it.
    void setUnreadable(int imports)
    {
        const platform::MutexLock lock(m_mutex);
        m_unreadable = imports;
    }

    /// Blocks until so many imports have been tried.
    void waitForAttempts(int count)
    {
        const platform::MutexLock lock(m_mutex);
        while (m_attempts < count) {
            m_changed.wait(m_mutex);
        }
    }

    int attempts() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_attempts;
    }

    bool holds(const QByteArray &content) const
    {
        const platform::MutexLock lock(m_mutex);
        return m_imported.contains(content);
    }

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    std::optional<bool> m_isKept QUORIN_GUARDED_BY(m_mutex) = true;
    QString m_held QUORIN_GUARDED_BY(m_mutex);
    bool m_hasNoStorage QUORIN_GUARDED_BY(m_mutex) = false;
    int m_unreadable QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_attempts QUORIN_GUARDED_BY(m_mutex) = 0;
    QSet<QByteArray> m_imported QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::receive::testing
