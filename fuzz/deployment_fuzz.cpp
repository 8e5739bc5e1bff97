#include "core/deployment.h"

#include <QtCore/QTemporaryFile>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Any bytes as the file in which whoever installs the gateway tells of its surroundings: what is read of it
/// can be fetched, opened and written to, and whatever else it said is told.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace gateway::core;
    static QTemporaryFile file;
    if (!file.isOpen() && !file.open()) {
        std::abort();
    }
    file.resize(0);
    file.seek(0);
    const auto length = static_cast<qint64>(size);
    if (file.write(reinterpret_cast<const char *>(data), length) != length || !file.flush()) {
        std::abort();
    }

    const Deployment read = readDeployment({file.fileName()});
    if (read.updates && (!isFetchable(read.updates->feed) || read.updates->publicKey.size() != 32)) {
        std::abort();
    }
    const bool isPage = read.storePage.scheme() == u"https" || read.storePage.scheme() == u"http";
    if (!read.storePage.isEmpty() && (!isPage || read.storePage.host().isEmpty())) {
        std::abort();
    }
    if (!read.supportEmail.isEmpty() &&
        (read.supportEmail.count(u'@') != 1 || read.supportEmail.contains(u' '))) {
        std::abort();
    }
    const bool isNothing = !read.updates && read.storePage.isEmpty() && read.supportEmail.isEmpty();
    if (size == 0 && (!isNothing || read.problems.size() != 1)) {
        std::abort();
    }
    return 0;
}
