#include "cloud/dicom/character_set.h"

#include <iconv.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>

namespace gateway::cloud {

namespace {

struct CharacterSet
{
    std::string_view dicomNumber; // what stands behind "ISO_IR " or "ISO 2022 IR "
    const char *iconvName;
};

constexpr CharacterSet kCharacterSets[] = {
    {"100", "ISO-8859-1"},
    {"101", "ISO-8859-2"},
    {"109", "ISO-8859-3"},
    {"110", "ISO-8859-4"},
    {"144", "ISO-8859-5"},
    {"127", "ISO-8859-6"},
    {"126", "ISO-8859-7"},
    {"138", "ISO-8859-8"},
    {"148", "ISO-8859-9"},
    {"166", "TIS-620"},
    {"13", "SHIFT_JIS"},
    {"192", "UTF-8"},
    {"87", "ISO-2022-JP"},
    {"159", "ISO-2022-JP-1"},
    {"149", "ISO-2022-KR"},
    {"58", "ISO-2022-CN"},
};

/// The converter's name for the last value of the attribute that names a set; null for plain ASCII.
const char *iconvNameOf(std::string_view characterSet)
{
    const char *name = nullptr;
    while (!characterSet.empty()) {
        const std::size_t end = std::min(characterSet.find('\\'), characterSet.size());
        const std::string_view value = characterSet.substr(0, end);
        if (value == "GB18030" || value == "GBK") {
            name = value == "GBK" ? "GBK" : "GB18030";
        }
        const std::size_t numberStart = value.rfind(' ');
        for (const CharacterSet &set : kCharacterSets) {
            if (numberStart != std::string_view::npos && value.substr(numberStart + 1) == set.dicomNumber) {
                name = set.iconvName;
            }
        }
        characterSet.remove_prefix(std::min(end + 1, characterSet.size()));
    }
    return name;
}

struct ConverterCloser
{
    void operator()(iconv_t converter) const { iconv_close(converter); }
};

} // namespace

QString decodeText(std::string_view text, std::string_view characterSet)
{
    const QString plain = QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
    const char *name = iconvNameOf(characterSet);
    if (name == nullptr) {
        return plain;
    }
    const iconv_t opened = iconv_open("UTF-8", name);
    if (opened == reinterpret_cast<iconv_t>(-1)) {
        return plain;
    }
    const std::unique_ptr<std::remove_pointer_t<iconv_t>, ConverterCloser> converter(opened);
    std::string source(text);
    std::string result(text.size() * 4 + 16, '\0'); // no set here needs more than four bytes for one
    char *in = source.data();
    char *out = result.data();
    std::size_t inLeft = source.size();
    std::size_t outLeft = result.size();
    if (iconv(opened, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1) || inLeft > 0) {
        return plain;
    }
    return QString::fromUtf8(result.data(), static_cast<qsizetype>(result.size() - outLeft));
}

} // namespace gateway::cloud
