#include "core/deployment.h"
#include "updates/appcast.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Any bytes as a feed of updates: what is read of them keeps the bounds that the rest relies on.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace gateway::updates;
    const QByteArray feed(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto items = parseAppcast(feed);
    for (const AppcastItem &item : items.value_or(QList<AppcastItem>())) {
        const bool isBounded = item.length > 0 && item.length <= kLargestPackage &&
                               gateway::core::isFetchable(item.url) && !item.versionString.contains(u'/') &&
                               item.sha256.size() == 32;
        if (!isBounded || signedText(item).count('\n') < 7) {
            std::abort();
        }
    }
    return 0;
}
