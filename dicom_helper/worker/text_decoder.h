#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace gateway::dicom_helper::worker {

/// Turns text values into UTF-8 as Specific Character Set (0008,0005) tells (PS3.5 6.1, PS3.3 C.12.1.1.2).
///
/// Never fails: bytes that can't be decoded become U+FFFD, control characters that aren't white space too.
/// Thread: the worker's only one; converters are kept for the life of the process.
class TextDecoder
{
public:
    /// \param specificCharacterSet  the raw value of (0008,0005); empty where it is absent.
    explicit TextDecoder(std::string_view specificCharacterSet);

    /// The value in UTF-8, without its padding.
    std::string decode(std::string_view raw) const;

private:
    /// How bytes of one half of the code table are read at a place in a text.
    struct Half
    {
        const char *converter = nullptr; ///< name of the converter; nothing for ASCII
        unsigned width = 1;              ///< bytes a character
        bool katakana = false;           ///< half-width katakana, which has no converter of its own
        bool eucThird = false;           ///< JIS X 0212, the third set of its converter
    };

    struct State
    {
        Half left;  ///< bytes 21 to 7E
        Half right; ///< bytes A1 to FE
    };

    void readTerms(std::string_view specificCharacterSet);
    std::string decodeExtended(std::string_view raw) const;
    static bool applyEscape(std::string_view &rest, State &state);
    static void appendRun(std::string &out, std::string_view bytes, const State &state);

    const char *m_whole = nullptr; ///< one converter for whole texts: GB18030, a single-byte set
    bool m_utf8 = false;           ///< the texts are UTF-8 already
    bool m_undeclared = false;     ///< no character set was stated
    State m_initial;               ///< of a text with escape sequences
};

/// Loads the converters of all character sets, for a process that soon can't read the system's folders any
/// more. Thread: the worker's only one.
void loadConverters();

/// Cuts `text` to at most `limit` bytes without splitting a character.
std::string cutUtf8(std::string text, std::size_t limit);

} // namespace gateway::dicom_helper::worker
