#pragma once

#include "dicom_helper/scp/acknowledgement_order.h"
#include "platform/descriptors/descriptor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace gateway::dicom_helper::scp {

/// The file operations by which an object gets into the inbox, so that a test can let each of them fail.
///
/// All return 0 or a positive number when they succeed, else the negated errno. Names have no folder.
class InboxDisk
{
public:
    virtual ~InboxDisk() = default;

    /// Makes a new, locked, empty file among the unfinished ones. \return its descriptor.
    virtual int create(const std::string &name) = 0;
    virtual ssize_t write(int file, std::string_view bytes) = 0;
    virtual std::int64_t size(int file) = 0;

    /// Gives the file a time of its own, later than that of every object kept before it.
    virtual int stamp(int file) = 0;
    virtual int sync(int file) = 0;
    virtual int close(int file) = 0;

    /// Moves an unfinished file into the inbox under its final name.
    virtual int publish(const std::string &name, const std::string &finalName) = 0;
    virtual int syncInbox() = 0;
    virtual void removeUnfinished(const std::string &name) = 0;
    virtual void removePublished(const std::string &finalName) = 0;

    /// What a user without privileges may still write on this volume.
    virtual std::int64_t availableBytes() = 0;
};

/// The inbox as a folder: complete files lie in it, unfinished ones in its folder ".part".
///
/// Names begin with "quorin-", so that files that people put there are never taken for ours. Each
/// unfinished file is locked by the process that writes it for as long as it does. The time of a complete
/// file tells when it was acknowledged, and no two have the same, however coarse the volume's times are; the
/// last one given is kept as the time of ".part/order", so that a clock that was set back doesn't turn the
/// order. Thread: one.
class Inbox : public InboxDisk
{
public:
    /// Opens the inbox, which is there: an empty folder may only stand for one whose volume is away. Proves
    /// that it can be written, and that its volume keeps the times of files.
    ///
    /// \param id  the number that the folder keeps, as the gateway noted it; empty where it knows none. A
    /// folder of
    ///            another number is no inbox: whoever put images there would leave them out of its sight.
    /// \throws Refusal
    explicit Inbox(const std::string &path, std::string id = {});

    /// Takes up the folder that stands at the path now, where that is an inbox and not the one that is open:
    /// a share that went away and came back. Sweeps it: who wrote there may have gone with it.
    void takeUpWhatIsThere();

    /// Every object that is kept from now on has a later time than this, in nanoseconds since 1970.
    void raise(std::int64_t time) { m_order->raise(time); }

    /// Makes sure that the volume keeps the time that the next object gets. \throws Refusal
    void requireTimes();

    /// The folder, for as long as takeUpWhatIsThere() isn't called.
    int descriptor() const { return m_folder.get(); }

    /// Removes the unfinished files that are there now, whose names begin so and whose writer is gone.
    void sweep(const std::string &prefix = "quorin-");

    /// The same for those that a sweep left: their writer was still at work, or the disk didn't let go of
    /// them.
    /// \return whether any is left still.
    bool sweepRest();

    /// Fails with ESTALE while another folder, or none, stands at the path: what lay in ours would be out of
    /// the gateway's sight.
    int create(const std::string &name) override;
    ssize_t write(int file, std::string_view bytes) override;
    std::int64_t size(int file) override;
    int stamp(int file) override;
    int sync(int file) override;
    int close(int file) override;
    /// Fails like `create`.
    int publish(const std::string &name, const std::string &finalName) override;
    int syncInbox() override;
    void removeUnfinished(const std::string &name) override;
    void removePublished(const std::string &finalName) override;
    std::int64_t availableBytes() override;

private:
    bool isInPlace() const;
    bool isTheOne(const platform::Descriptor &part) const;
    bool isGone(const std::string &name);

    std::string m_path;
    std::string m_id;
    platform::Descriptor m_folder;
    platform::Descriptor m_part;
    platform::Descriptor m_orderFile;
    std::unique_ptr<AcknowledgementOrder> m_order;
    std::vector<std::string> m_rest; // unfinished files that a sweep has left
};

} // namespace gateway::dicom_helper::scp
