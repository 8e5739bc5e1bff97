#pragma once

#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

#include <concepts>
#include <functional>
#include <limits>
#include <optional>
#include <utility>

namespace gateway::platform {

/// How a value of type T is kept in the defaults; specialised for each type that is.
///
/// `store` gives what is stored, an invalid QVariant for "no value"; `read` gives nothing for a stored value
/// of another type, which then counts as absent.
template <typename T>
struct StoredForm;

/// Types that the defaults keep as they are.
template <typename T>
    requires std::same_as<T, bool> || std::same_as<T, double> || std::same_as<T, QString> ||
             std::same_as<T, QByteArray> || std::same_as<T, QDateTime>
struct StoredForm<T>
{
    static QVariant store(const T &value) { return QVariant::fromValue(value); }

    static std::optional<T> read(const QVariant &stored)
    {
        return stored.typeId() == qMetaTypeId<T>() ? std::optional<T>(stored.value<T>()) : std::nullopt;
    }
};

/// Integers; one that doesn't fit counts as absent.
template <std::signed_integral T>
struct StoredForm<T>
{
    static QVariant store(const T &value) { return static_cast<qlonglong>(value); }

    static std::optional<T> read(const QVariant &stored)
    {
        const qlonglong value = stored.toLongLong();
        const bool fits = value >= std::numeric_limits<T>::min() && value <= std::numeric_limits<T>::max();
        return stored.typeId() == QMetaType::LongLong && fits ? std::optional<T>(static_cast<T>(value))
                                                              : std::nullopt;
    }
};

/// A value that may be absent: the key is then removed.
template <typename T>
struct StoredForm<std::optional<T>>
{
    static QVariant store(const std::optional<T> &value)
    {
        return value ? StoredForm<T>::store(*value) : QVariant();
    }

    static std::optional<std::optional<T>> read(const QVariant &stored)
    {
        const std::optional<T> value = StoredForm<T>::read(stored);
        return value ? std::optional<std::optional<T>>(value) : std::nullopt;
    }
};

/// One key of the defaults as a typed value with a default and a change signal.
///
/// Thread: any. The defaults outlive it.
template <typename T>
class Published
{
public:
    Published(UserDefaults &defaults, QString key, T defaultValue)
        : m_defaults(defaults), m_key(std::move(key)), m_defaultValue(std::move(defaultValue))
    {
    }

    /// The value last set, by this process or another; the default when there is none or it can't be read.
    T get() const
    {
        const std::optional<QVariant> stored = m_defaults.object(m_key);
        std::optional<T> value = stored ? StoredForm<T>::read(*stored) : std::nullopt;
        return value ? *std::move(value) : m_defaultValue;
    }

    /// Stores the value durably and then tells the observers, on this thread.
    ///
    /// \return false when it could not be stored; the old value then stands and nobody is told.
    bool set(const T &value)
    {
        const bool stored = m_defaults.setObject(m_key, StoredForm<T>::store(value));
        if (stored) {
            m_changes.post(m_key);
        }
        return stored;
    }

    /// Calls `observer` after each later `set` through this object, on the setting thread, until the token
    /// dies.
    [[nodiscard]] NotificationCenter::Token onChange(std::function<void()> observer)
    {
        return m_changes.observe(m_key,
                                 [observer = std::move(observer)](const QVariantMap &) { observer(); });
    }

    const QString &key() const { return m_key; }

private:
    UserDefaults &m_defaults;
    const QString m_key;
    const T m_defaultValue;
    NotificationCenter m_changes;
};

} // namespace gateway::platform
