#include "core/ae_title_formatter.h"
#include "core/dcm_listener_settings.h"

#include <cstdint>
#include <cstdlib>

/// A record that decodes must survive being written and read again, and the formatter must give a legal title
/// that it would leave alone.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using gateway::core::AETitleFormatter;
    using gateway::core::DCMListenerSettings;
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto settings = DCMListenerSettings::fromJson(bytes);
    if (settings && DCMListenerSettings::fromJson(settings->toJson()) != settings) {
        std::abort();
    }
    const QString title = AETitleFormatter::format(settings ? settings->aeTitle : QString::fromUtf8(bytes));
    if (title.size() > 16 || AETitleFormatter::format(title) != title) {
        std::abort();
    }
    return 0;
}
