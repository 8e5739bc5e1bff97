#include "dicom_helper/unpack/entry_path.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace gateway::dicom_helper::unpack {

namespace {

constexpr std::size_t kLongestPart = 255;  // NAME_MAX
constexpr std::size_t kLongestPath = 1024; // leaves most of PATH_MAX to the folder around it
constexpr std::size_t kDeepestPath = 64;

bool isLetterOrDigit(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

bool hasDrive(std::string_view path)
{
    return path.size() >= 2 && path[1] == ':' && std::isalpha(static_cast<unsigned char>(path[0])) != 0;
}

std::string extensionOf(std::string_view path)
{
    constexpr std::size_t kLongest = 16;
    const std::size_t point = path.rfind('.');
    if (point == std::string_view::npos) {
        return {};
    }
    const std::string_view extension = path.substr(point + 1);
    const bool usable = extension.size() <= kLongest && std::ranges::all_of(extension, isLetterOrDigit);
    return usable ? '.' + std::string(extension) : std::string();
}

} // namespace

std::optional<EntryPath> tamedPath(std::string_view path)
{
    path = path.substr(0, path.find('\0'));
    if (path.size() > kLongestPath) {
        return std::nullopt;
    }
    if (hasDrive(path)) {
        path.remove_prefix(2);
    }
    EntryPath tamed;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find_first_of("/\\"));
        path.remove_prefix(std::min(part.size() + 1, path.size()));
        if (part.empty() || part == "." || part == "..") {
            continue;
        }
        if (part.size() > kLongestPart || tamed.folders.size() >= kDeepestPath) {
            return std::nullopt;
        }
        tamed.folders.emplace_back(part);
    }
    if (tamed.folders.empty()) {
        return std::nullopt;
    }
    tamed.name = std::move(tamed.folders.back());
    tamed.folders.pop_back();
    return tamed;
}

std::string plainName(std::string_view path, std::uint64_t number, int attempt)
{
    std::string name = "entry-" + std::to_string(number);
    if (attempt > 0) {
        name += '-' + std::to_string(attempt);
    }
    return name + extensionOf(path.substr(0, path.find('\0')));
}

} // namespace gateway::dicom_helper::unpack
