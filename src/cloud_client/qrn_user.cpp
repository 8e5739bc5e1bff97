#include "cloud_client/qrn_user.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/server_words.h"

namespace gateway::cloud_client {

namespace {

// Longer than anybody's field, since what was shortened would go back so.
constexpr qsizetype kLongestField = 2000;

std::optional<QString> textOf(const QVariantMap &record, const QString &member)
{
    const QVariant value = record.value(member);
    return value.typeId() == QMetaType::QString
               ? std::optional(cleanServerWords(value.toString(), kLongestField))
               : std::nullopt;
}

QrnUserWorkplace workplaceFrom(const QVariantMap &record)
{
    return {record.value(QStringLiteral("id")).toLongLong(),
            textOf(record, QStringLiteral("name")).value_or(QString()),
            record.value(QStringLiteral("isPrimary")).toBool()};
}

} // namespace

QrnUser userFromRecord(const QVariantMap &record)
{
    const QVariant id = record.value(QStringLiteral("id"));
    if (id.typeId() != QMetaType::LongLong) {
        throwUnreadableAnswer();
    }
    QrnUser user;
    user.id = id.toLongLong();
    user.email = textOf(record, QStringLiteral("email"));
    user.title = textOf(record, QStringLiteral("title"));
    user.firstName = textOf(record, QStringLiteral("firstName"));
    user.middleName = textOf(record, QStringLiteral("middleName"));
    user.lastName = textOf(record, QStringLiteral("lastName"));
    user.suffix = textOf(record, QStringLiteral("suffix"));
    user.profession = textOf(record, QStringLiteral("profession"));
    user.phoneNumber = textOf(record, QStringLiteral("phoneNumber"));
    user.workplaceName = textOf(record, QStringLiteral("workplaceName"));
    for (const QVariant &workplace : record.value(QStringLiteral("workplaces")).toList()) {
        user.workplaces.append(workplaceFrom(workplace.toMap()));
    }
    user.record = record;
    return user;
}

QrnUpdateUserRequest::QrnUpdateUserRequest(const QrnUser &user)
    : title(user.title), firstName(user.firstName), middleName(user.middleName), lastName(user.lastName),
      suffix(user.suffix), profession(user.profession), phoneNumber(user.phoneNumber),
      workplace(user.workplaceName), m_record(user.record)
{
}

QJsonObject QrnUpdateUserRequest::toJson() const
{
    QJsonObject body = QJsonObject::fromVariantMap(m_record);
    const auto set = [&body](const QString &member, const std::optional<QString> &text) {
        body.insert(member, text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null));
    };
    set(QStringLiteral("title"), title);
    set(QStringLiteral("firstName"), firstName);
    set(QStringLiteral("middleName"), middleName);
    set(QStringLiteral("lastName"), lastName);
    set(QStringLiteral("suffix"), suffix);
    set(QStringLiteral("profession"), profession);
    set(QStringLiteral("phoneNumber"), phoneNumber);
    set(QStringLiteral("workplaceName"), workplace);
    return body;
}

} // namespace gateway::cloud_client
