#include "monitor/health_answers.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

/// Anybody who reaches the metrics' address may send anything: it is answered, always by one whole HTTP
/// answer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static gateway::monitor::HealthAnswers answers;
    const std::string_view head(reinterpret_cast<const char *>(data), size);
    const std::string answer = answers.answer(head, {});
    if (!answer.starts_with("HTTP/1.1 ") || answer.find("\r\n\r\n") == std::string::npos) {
        std::abort();
    }
    return 0;
}
