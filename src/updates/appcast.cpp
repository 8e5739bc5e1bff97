#include "updates/appcast.h"

#include "cloud_client/network_json.h"
#include "core/deployment.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QVariantMap>

#include <algorithm>

namespace gateway::updates {

namespace {

constexpr qsizetype kLongestDisplayVersion = 64;
constexpr qsizetype kLongestNotes = 64 * 1024;

bool matches(const char *pattern, const QString &text)
{
    const QRegularExpression whole(QRegularExpression::anchoredPattern(QLatin1StringView(pattern)));
    return whole.match(text).hasMatch();
}

std::optional<PackageKind> packageKind(const QString &word)
{
    for (const PackageKind kind : {PackageKind::appImage, PackageKind::debian}) {
        if (wordOf(kind) == word) {
            return kind;
        }
    }
    return std::nullopt;
}

bool isPrintable(const QString &text)
{
    return std::ranges::all_of(text, [](QChar character) { return character.isPrint(); });
}

bool isWhole(const AppcastItem &item)
{
    return matches("[0-9]{1,9}(\\.[0-9]{1,9}){0,3}", item.versionString) &&
           matches("[a-z0-9_]{1,32}", item.architecture) &&
           item.displayVersionString.size() <= kLongestDisplayVersion &&
           isPrintable(item.displayVersionString) && item.notes.size() <= kLongestNotes &&
           core::isFetchable(item.url) && item.length > 0 && item.length <= kLargestPackage &&
           item.sha256.size() == 32 && item.signature.size() == 64;
}

QByteArray bytesIn(const QVariant &base64)
{
    const auto decoded =
        QByteArray::fromBase64Encoding(base64.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? decoded.decoded : QByteArray();
}

/// Texts alone: a version that is a number isn't one.
QString textIn(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

/// Numbers alone: a length in quotes isn't one.
qint64 numberIn(const QVariant &value)
{
    return value.typeId() == QMetaType::LongLong ? value.toLongLong() : 0;
}

std::optional<AppcastItem> itemIn(const QVariantMap &entry)
{
    const auto text = [&entry](const char *member) { return textIn(entry.value(QLatin1StringView(member))); };
    const std::optional<PackageKind> kind = packageKind(text("kind"));
    if (!kind) {
        return std::nullopt;
    }
    AppcastItem item{.kind = *kind,
                     .architecture = text("architecture"),
                     .versionString = text("version"),
                     .displayVersionString = text("displayVersion"),
                     .notes = text("notes"),
                     .url = QUrl(text("url"), QUrl::StrictMode),
                     .length = numberIn(entry.value(QStringLiteral("length"))),
                     .sha256 = bytesIn(entry.value(QStringLiteral("sha256"))),
                     .signature = bytesIn(entry.value(QStringLiteral("signature")))};
    return isWhole(item) ? std::optional(std::move(item)) : std::nullopt;
}

} // namespace

QString wordOf(PackageKind kind)
{
    switch (kind) {
    case PackageKind::appImage:
        return QStringLiteral("appimage");
    case PackageKind::debian:
        return QStringLiteral("deb");
    }
    Q_UNREACHABLE();
}

std::optional<QList<AppcastItem>> parseAppcast(const QByteArray &feed)
{
    if (feed.size() > kLargestFeed) {
        return std::nullopt;
    }
    const std::optional<QVariant> whole = cloud_client::parseNetworkJson(feed);
    if (!whole || whole->typeId() != QMetaType::QVariantMap) {
        return std::nullopt;
    }
    const QVariant entries = whole->toMap().value(QStringLiteral("items"));
    if (entries.typeId() != QMetaType::QVariantList) {
        return std::nullopt;
    }
    QList<AppcastItem> items;
    const QVariantList list = entries.toList();
    for (const QVariant &entry : list) {
        if (const std::optional<AppcastItem> item = itemIn(entry.toMap())) {
            items.append(*item);
        }
    }
    return items;
}

/// One line a member; none but the last can hold the end of a line, so no two items have the same text.
QByteArray signedText(const AppcastItem &item)
{
    return QByteArrayList{"quorin-gateway update 1",
                          wordOf(item.kind).toUtf8(),
                          item.architecture.toUtf8(),
                          item.versionString.toUtf8(),
                          item.displayVersionString.toUtf8(),
                          QByteArray::number(item.length),
                          item.sha256.toHex(),
                          item.notes.toUtf8()}
        .join('\n');
}

} // namespace gateway::updates
