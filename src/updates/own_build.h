#pragma once

#include "updates/appcast.h"

#include <QtCore/QList>

#include <optional>

namespace gateway::updates {

/// What this program is, and whose updates it takes. Thread: a plain value.
struct OwnBuild
{
    QString versionString;
    PackageKind kind = PackageKind::debian;
    QString architecture;
    QByteArray publicKey; ///< Ed25519, 32 bytes
};

/// The newest of the items that is newer than this build, fits it and is signed for it; nothing where none is
/// newer. An older or equal version is never taken, whoever signed it. Thread: any.
///
/// \param where  the feed's host, for the sentence.
/// \throws UpdateError  badSignature, when newer ones that fit were offered and none is signed.
std::optional<AppcastItem>
newestFor(const OwnBuild &build, const QList<AppcastItem> &items, const QString &where);

} // namespace gateway::updates
