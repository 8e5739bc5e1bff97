#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <optional>

namespace gateway::cloud_client {

/// One place where a user works.
struct QrnUserWorkplace
{
    qint64 id = 0;
    QString name;
    bool isPrimary = false;

    bool operator==(const QrnUserWorkplace &) const = default;
};

/// The account of a user. Thread: a value, any.
struct QrnUser
{
    qint64 id = 0;
    std::optional<QString> email;
    std::optional<QString> title;
    std::optional<QString> firstName;
    std::optional<QString> middleName;
    std::optional<QString> lastName;
    std::optional<QString> suffix;
    std::optional<QString> profession;
    std::optional<QString> phoneNumber;
    std::optional<QString> workplaceName;
    QList<QrnUserWorkplace> workplaces;
    QVariantMap record; ///< the whole record as it came, for the members that this client doesn't know
};

/// A user to be stored: the whole record goes back, with these texts in place of the old ones; an absent
/// text clears the member.
struct QrnUpdateUserRequest
{
    explicit QrnUpdateUserRequest(const QrnUser &user);

    std::optional<QString> title;
    std::optional<QString> firstName;
    std::optional<QString> middleName;
    std::optional<QString> lastName;
    std::optional<QString> suffix;
    std::optional<QString> profession;
    std::optional<QString> phoneNumber;
    std::optional<QString> workplace; ///< the workplace's name

    /// The body of the update.
    QJsonObject toJson() const;

private:
    QVariantMap m_record;
};

/// Reads a user record; unknown members are kept, members of another type count as absent.
///
/// \throws AFError  when the record has no id.
QrnUser userFromRecord(const QVariantMap &record);

} // namespace gateway::cloud_client
