#pragma once

#include "updates/updater.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <optional>

namespace gateway::updates {

/// How a build is packed, and so how it is installed.
enum class PackageKind
{
    appImage, ///< one file that runs from where it lies
    debian    ///< a package for the system's installer
};

/// The words of the kinds in a feed: "appimage" and "deb".
QString wordOf(PackageKind kind);

/// One build that a feed offers. What it says is worth nothing before its signature was verified.
///
/// Thread: a plain value.
struct AppcastItem
{
    PackageKind kind = PackageKind::appImage;
    QString architecture;         ///< as the kernel names it, such as "x86_64"
    QString versionString;        ///< dotted numbers
    QString displayVersionString; ///< for people; may be empty
    QString notes;                ///< what is new, as plain text
    QUrl url;                     ///< where the package is; isn't signed, since the hash names its content
    qint64 length = 0;            ///< of the package, in bytes
    QByteArray sha256;            ///< of the package; 32 bytes
    QByteArray signature;         ///< Ed25519 over `signedText`; 64 bytes

    bool operator==(const AppcastItem &) const = default;

    UpdateItem names() const { return {displayVersionString, versionString}; }
};

/// No package is larger; one that is isn't ours.
inline constexpr qint64 kLargestPackage = qint64{1} << 30;

/// No feed is larger.
inline constexpr qint64 kLargestFeed = qint64{1} << 20;

/// Reads a feed. Entries that aren't whole, or not of a known kind, are left out: a later feed may hold what
/// this build doesn't know. Nothing when the bytes are no feed at all. Thread: any.
std::optional<QList<AppcastItem>> parseAppcast(const QByteArray &feed);

/// What the signature of an item covers: all of it but the address. `tools/appcast` signs the same bytes.
QByteArray signedText(const AppcastItem &item);

} // namespace gateway::updates
