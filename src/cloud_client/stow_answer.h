#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

/// True for duplicate SOP instance (0111H, PS3.7 C.5.6) and for 45070, by which archives say the same of a
/// store over the web. Neither tells whether it is the same version.
inline bool saysAlreadyStored(std::optional<int> reason)
{
    return reason == 0x0111 || reason == 45070;
}

/// One entry of FailedSOPSequence (0008,1198).
struct StowRefusal
{
    platform::InstanceUid sopInstanceUid; ///< empty when the entry names none
    std::optional<int> reason;            ///< FailureReason (0008,1197)

    /// True when the reason says that an instance of this UID is there already.
    bool isAlreadyStored() const { return saysAlreadyStored(reason); }

    bool operator==(const StowRefusal &) const = default;
};

/// One entry of ReferencedSOPSequence (0008,1199): an instance that is stored.
struct StowReference
{
    platform::InstanceUid sopInstanceUid; ///< never empty
    QString retrieveUrl;                  ///< RetrieveURL (0008,1190); may be empty
    std::optional<int> warning = {};      ///< WarningReason (0008,1196)

    /// True when this is the instance, and the address, as far as it says where, is in its study and series.
    bool names(const platform::InstanceIdentity &identity) const;

    /// True when the warning says that an instance of this UID was there already.
    bool isAlreadyStored() const { return saysAlreadyStored(warning); }

    bool operator==(const StowReference &) const = default;
};

/// What a server says of the instances of an upload (PS3.18 10.5.3 and annex I.2).
struct StowAnswer
{
    QList<StowReference> referenced;
    QList<StowRefusal> refused;
};

/// Reads the dataset that answers an upload, as `application/dicom+json` or `application/dicom+xml`.
///
/// \param mediaType  of the answer, lower case, without parameters; an empty one is taken for JSON.
/// \return nothing when the body isn't such a dataset or names neither sequence: it then proves nothing.
///
/// Thread: any. Nesting is bounded; entities are not expanded beyond what the XML reader allows, and a
/// document type declaration makes the body unreadable.
std::optional<StowAnswer> parseStowAnswer(const QByteArray &mediaType, const QByteArray &body);

} // namespace gateway::cloud_client
