#pragma once

#include "dicom_helper/scp/inbox.h"
#include "dicom_helper/scp/space_claims.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp {

/// One object on its way into the inbox: written as it comes, durable when finish() says so, gone without
/// a trace otherwise.
///
/// The first trouble of the disk ends the writing and frees the space; what comes after it is let pass, so
/// that the association lives on to hear of it. Owner: Association. Thread: one.
class IncomingInstance
{
public:
    /// \param name  of the file, without ending; new and unguessable.
    /// \param header  what the file begins with.
    /// \param claim  on the free space; no other object uses it meanwhile.
    IncomingInstance(InboxDisk &disk, std::string name, std::string_view header, SpaceClaim claim);

    /// Removes the unfinished file.
    ~IncomingInstance();
    IncomingInstance(const IncomingInstance &) = delete;
    IncomingInstance &operator=(const IncomingInstance &) = delete;

    void append(std::string_view bytes);

    /// Makes the object durable under its final name: compares its size, syncs file and folder.
    ///
    /// \return whether the object is kept; when it isn't, trouble() says why.
    bool finish();

    /// How many bytes of the dataset came, kept or not.
    std::int64_t dataSetBytes() const { return m_dataSetBytes; }

    /// The name of the file in the inbox once finish() has kept it.
    const std::string &finalName() const { return m_finalName; }

    /// The negated errno of the first trouble, or 0. Space that would not leave the reserve counts as ENOSPC.
    int trouble() const { return m_trouble; }

private:
    void write(std::string_view bytes);
    void fail(int trouble);
    int settle();

    InboxDisk &m_disk;
    std::string m_name;
    std::string m_finalName;
    SpaceClaim m_claim;
    std::optional<int> m_file;
    std::int64_t m_written = 0;
    std::int64_t m_dataSetBytes = 0;
    int m_trouble = 0;
};

} // namespace gateway::dicom_helper::scp
