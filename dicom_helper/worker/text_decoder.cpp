#include "dicom_helper/worker/text_decoder.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <map>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr char kEscape = '\x1B';

struct NamedSet
{
    std::string_view term;   ///< the last part of its defined term, as in ISO_IR 100
    std::string_view escape; ///< what follows ESC where it is switched to
    const char *converter;
};

/// The single-byte sets with an upper half; the lower one is ASCII in all of them.
constexpr std::array kSingleByteSets{NamedSet{"100", "-A", "ISO-8859-1"},
                                     NamedSet{"101", "-B", "ISO-8859-2"},
                                     NamedSet{"109", "-C", "ISO-8859-3"},
                                     NamedSet{"110", "-D", "ISO-8859-4"},
                                     NamedSet{"144", "-L", "ISO-8859-5"},
                                     NamedSet{"127", "-G", "ISO-8859-6"},
                                     NamedSet{"126", "-F", "ISO-8859-7"},
                                     NamedSet{"138", "-H", "ISO-8859-8"},
                                     NamedSet{"148", "-M", "ISO-8859-9"},
                                     NamedSet{"203", "-b", "ISO-8859-15"},
                                     NamedSet{"166", "-T", "TIS-620"}};

/// All other converters that texts need.
constexpr std::array kFurtherConverters{"GB18030", "EUC-JP", "EUC-KR", "EUC-CN", "US-ASCII"};

bool isAscii(std::string_view bytes)
{
    return std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// A converter to UTF-8; where there is none of that name, it converts nothing.
class Converter
{
public:
    explicit Converter(const char *name) : m_converter(::iconv_open("UTF-8", name)) {}
    ~Converter()
    {
        if (isOpen()) {
            ::iconv_close(m_converter);
        }
    }
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    void reset()
    {
        if (isOpen()) {
            ::iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
        }
    }

    /// \return false where it stopped at a byte that it can't convert, or at an unfinished character.
    bool convert(char *&in, std::size_t &left, char *&to, std::size_t &room)
    {
        return isOpen() && (::iconv(m_converter, &in, &left, &to, &room) != static_cast<std::size_t>(-1) ||
                            errno == E2BIG);
    }

private:
    bool isOpen() const { return reinterpret_cast<std::intptr_t>(m_converter) != -1; }

    iconv_t m_converter;
};

/// Opening one loads a library; a worker meets the same few sets again and again.
Converter &converterNamed(const char *name)
{
    static std::map<std::string_view, Converter> opened;
    Converter &converter = opened.try_emplace(name, name).first->second;
    converter.reset();
    return converter;
}

/// The length of the character at the front of `bytes`, 0 where there is none (RFC 3629).
std::size_t utf8CharacterSize(std::string_view bytes)
{
    const auto at = [bytes](std::size_t i) {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
    };
    const auto isWithin = [at](std::size_t i, unsigned low, unsigned high) {
        return at(i) >= low && at(i) <= high;
    };
    const unsigned first = at(0);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return isWithin(1, 0x80, 0xBF) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool second = isWithin(1, first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF);
        return second && isWithin(2, 0x80, 0xBF) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool second = isWithin(1, first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF);
        return second && isWithin(2, 0x80, 0xBF) && isWithin(3, 0x80, 0xBF) ? 4 : 0;
    }
    return 0;
}

/// Takes UTF-8 over as it is: the system's converter lets sequences through that are none.
///
/// \return false when a byte had to be replaced.
bool appendUtf8(std::string &out, std::string_view bytes)
{
    bool clean = true;
    while (!bytes.empty()) {
        const std::size_t size = utf8CharacterSize(bytes);
        out += size == 0 ? kReplacement : bytes.substr(0, size);
        clean = clean && size > 0;
        bytes.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return clean;
}

/// \return false when a byte had to be replaced.
bool appendConverted(std::string &out, std::string_view bytes, const char *converterName)
{
    Converter &converter = converterNamed(converterName);
    std::string source(bytes);
    char *in = source.data();
    std::size_t left = source.size();
    bool clean = true;
    while (left > 0) {
        std::array<char, 512> piece{};
        char *to = piece.data();
        std::size_t room = piece.size();
        const bool converted = converter.convert(in, left, to, room);
        out.append(piece.data(), static_cast<std::size_t>(to - piece.data()));
        if (!converted) {
            out += kReplacement;
            ++in;
            --left;
            clean = false;
        }
    }
    return clean;
}

/// Control characters have no place in a value; white space of texts stays.
std::string withoutControls(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool space = c == '\n' || c == '\r' || c == '\t' || c == '\f';
        if ((byte < 0x20 && !space) || byte == 0x7F) {
            out += kReplacement;
        } else {
            out.push_back(c);
        }
    }
    return out;
}

std::string_view withoutPadding(std::string_view raw)
{
    while (!raw.empty() && (raw.back() == ' ' || raw.back() == '\0')) {
        raw.remove_suffix(1);
    }
    while (!raw.empty() && raw.front() == ' ') {
        raw.remove_prefix(1);
    }
    return raw;
}

/// At these a text falls back to its first character set (PS3.5 6.1.2.5.3).
bool resetsState(char c)
{
    return c == '^' || c == '=' || c == '\\' || c == '\n' || c == '\r' || c == '\t' || c == '\f';
}

} // namespace

TextDecoder::TextDecoder(std::string_view specificCharacterSet)
{
    readTerms(withoutPadding(specificCharacterSet));
}

void TextDecoder::readTerms(std::string_view terms)
{
    m_undeclared = terms.empty();
    const bool extended = terms.find("2022") != std::string_view::npos;
    const std::string_view first = withoutPadding(terms.substr(0, terms.find('\\')));
    // "ISO_IR 100" and "ISO 2022 IR 100" end alike; a text may say it with other spacing too.
    const std::string_view number = first.substr(first.find_last_of(" _") + 1);
    const auto *const known = std::ranges::find(kSingleByteSets, number, &NamedSet::term);
    if (first.find("GB18030") != std::string_view::npos || first.find("GBK") != std::string_view::npos) {
        m_whole = "GB18030";
    } else if (number == "192") {
        m_utf8 = true;
    } else if (number == "13") {
        m_initial.right = {nullptr, 1, true, false};
    } else if (known != kSingleByteSets.end()) {
        m_initial.right = {known->converter, 1, false, false};
        m_whole = extended ? nullptr : known->converter;
    }
}

std::string TextDecoder::decode(std::string_view raw) const
{
    raw = withoutPadding(raw);
    const bool escapes = raw.find(kEscape) != std::string_view::npos;
    if (!escapes && isAscii(raw)) {
        return withoutControls(raw);
    }
    std::string out;
    if (m_undeclared && !escapes) {
        // Some senders leave the set out; valid UTF-8 is hardly ever anything else.
        if (!appendUtf8(out, raw)) {
            out.clear();
            appendConverted(out, raw, "ISO-8859-1");
        }
    } else if (m_utf8) {
        appendUtf8(out, raw);
    } else if (m_whole != nullptr) {
        appendConverted(out, raw, m_whole);
    } else {
        out = decodeExtended(raw);
    }
    return withoutControls(out);
}

std::string TextDecoder::decodeExtended(std::string_view raw) const
{
    std::string out;
    State state = m_initial;
    while (!raw.empty()) {
        if (raw.front() == kEscape) {
            raw.remove_prefix(1);
            if (!applyEscape(raw, state)) {
                out += kReplacement;
            }
            continue;
        }
        if (state.left.width == 1 && resetsState(raw.front())) {
            state = m_initial;
            out.push_back(raw.front());
            raw.remove_prefix(1);
            continue;
        }
        // A run ends where the state may change; in a two-byte set delimiters are halves of characters.
        std::size_t size = 0;
        while (size < raw.size() && raw[size] != kEscape &&
               (state.left.width > 1 || !resetsState(raw[size]))) {
            size += std::min<std::size_t>(raw.size() - size, state.left.width);
        }
        appendRun(out, raw.substr(0, size), state);
        raw.remove_prefix(size);
    }
    return out;
}

/// Takes the rest of an escape sequence off `rest` (PS3.3 tables C.12-3 and C.12-4).
///
/// \return false when it is none that is known; nothing is taken then.
bool TextDecoder::applyEscape(std::string_view &rest, State &state)
{
    const auto take = [&rest](std::string_view sequence) {
        const bool found = rest.starts_with(sequence);
        rest.remove_prefix(found ? sequence.size() : 0);
        return found;
    };
    if (take("(B") || take("(J")) {
        state.left = {};
        return true;
    }
    if (take(")I")) {
        state.right = {nullptr, 1, true, false};
        return true;
    }
    if (take("$B")) {
        state.left = {"EUC-JP", 2, false, false};
        return true;
    }
    if (take("$(D")) {
        state.left = {"EUC-JP", 2, false, true};
        return true;
    }
    if (take("$)C")) {
        state.right = {"EUC-KR", 2, false, false};
        return true;
    }
    if (take("$)A")) {
        state.right = {"EUC-CN", 2, false, false};
        return true;
    }
    for (const NamedSet &set : kSingleByteSets) {
        if (take(set.escape)) {
            state.right = {set.converter, 1, false, false};
            return true;
        }
    }
    return false;
}

/// Appends bytes of one state, half by half.
void TextDecoder::appendRun(std::string &out, std::string_view bytes, const State &state)
{
    while (!bytes.empty()) {
        const bool upper = static_cast<unsigned char>(bytes.front()) >= 0x80;
        const Half &half = upper ? state.right : state.left;
        std::size_t size = 0;
        while (size < bytes.size() && (static_cast<unsigned char>(bytes[size]) >= 0x80) == upper) {
            size += std::min<std::size_t>(bytes.size() - size, half.width);
        }
        const std::string_view run = bytes.substr(0, size);
        if (half.katakana) {
            for (const char c : run) {
                const auto byte = static_cast<unsigned char>(c);
                const std::array<char, 2> wide{static_cast<char>(0x8EU), c};
                if (byte >= 0xA1 && byte <= 0xDF) {
                    appendConverted(out, std::string_view(wide.data(), wide.size()), "EUC-JP");
                } else {
                    out += kReplacement;
                }
            }
        } else if (half.converter == nullptr && !upper) {
            out += run;
        } else if (half.converter == nullptr) {
            appendConverted(out, run, "US-ASCII");
        } else if (upper) {
            appendConverted(out, run, half.converter);
        } else {
            std::string shifted;
            for (std::size_t i = 0; i < run.size(); ++i) {
                if (half.eucThird && i % half.width == 0) {
                    shifted.push_back(static_cast<char>(0x8FU));
                }
                shifted.push_back(static_cast<char>(static_cast<unsigned char>(run[i]) | 0x80U));
            }
            appendConverted(out, shifted, half.converter);
        }
        bytes.remove_prefix(size);
    }
}

void loadConverters()
{
    for (const NamedSet &set : kSingleByteSets) {
        converterNamed(set.converter);
    }
    for (const char *name : kFurtherConverters) {
        converterNamed(name);
    }
}

std::string cutUtf8(std::string text, std::size_t limit)
{
    if (text.size() <= limit) {
        return text;
    }
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0U) == 0x80U) {
        --limit;
    }
    text.resize(limit);
    return text;
}

} // namespace gateway::dicom_helper::worker
