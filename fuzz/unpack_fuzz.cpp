#include "dicom_helper/unpack/entry_path.h"
#include "dicom_helper/unpack/unpacker.h"

#include <cstdlib>
#include <string>

using namespace gateway::dicom_helper::unpack;

namespace {

bool leadsOut(const std::string &part)
{
    return part.empty() || part == "." || part == ".." ||
           part.find_first_of(std::string_view("/\\\0", 3)) < part.size();
}

/// Keeps nothing, and aborts on a name that could lead out of the folder or on more than the limits allow.
class CheckingSink final : public EntrySink
{
public:
    explicit CheckingSink(const Limits &limits) : m_limits(limits) {}

    void begin(std::string_view path, std::uint64_t number) override
    {
        if (number > m_limits.entries || leadsOut(plainName(path, number, 1))) {
            std::abort();
        }
        if (const auto tamed = tamedPath(path)) {
            for (const std::string &folder : tamed->folders) {
                if (leadsOut(folder)) {
                    std::abort();
                }
            }
            if (leadsOut(tamed->name)) {
                std::abort();
            }
        }
    }

    void write(std::span<const std::byte> bytes) override
    {
        m_bytes += bytes.size();
        if (m_bytes > m_limits.bytes) {
            std::abort();
        }
    }

    void end() override {}

private:
    const Limits &m_limits;
    std::uint64_t m_bytes = 0;
};

} // namespace

/// Unpacks a stranger's archive; nothing of it may lead out of the folder or come to more than is allowed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr Limits kLimits{100, 1'000'000};
    CheckingSink sink(kLimits);
    try {
        ArchiveReader archive(std::as_bytes(std::span(data, size)));
        unpackAll(archive, sink, kLimits, [](const Counts &) {});
    } catch (const UnreadableArchive &) {
        return 0;
    } catch (const TooLarge &) {
        return 0;
    }
    return 0;
}
