#pragma once

#include "updates/appcast.h"
#include "updates/update_error.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QList>

#include <optional>

namespace gateway::updates::testing {

/// An item as a feed writes it.
inline QJsonObject entryFor(const AppcastItem &item)
{
    return {{QStringLiteral("kind"), wordOf(item.kind)},
            {QStringLiteral("architecture"), item.architecture},
            {QStringLiteral("version"), item.versionString},
            {QStringLiteral("displayVersion"), item.displayVersionString},
            {QStringLiteral("notes"), item.notes},
            {QStringLiteral("url"), item.url.toString()},
            {QStringLiteral("length"), item.length},
            {QStringLiteral("sha256"), QString::fromLatin1(item.sha256.toBase64())},
            {QStringLiteral("signature"), QString::fromLatin1(item.signature.toBase64())}};
}

inline QByteArray feedOf(const QJsonArray &entries)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("items"), entries}}).toJson();
}

inline QByteArray feedOf(const QList<AppcastItem> &items)
{
    QJsonArray entries;
    for (const AppcastItem &item : items) {
        entries.append(entryFor(item));
    }
    return feedOf(entries);
}

/// The failure of the UpdateError that `call` throws; nothing when it throws none.
template <typename Call>
std::optional<UpdateFailure> failureOf(Call call)
{
    try {
        call();
    } catch (const UpdateError &error) {
        return error.failure;
    }
    return std::nullopt;
}

} // namespace gateway::updates::testing
