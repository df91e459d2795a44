#include "TextDecoding.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>

#include "MacScriptTables.h"
#include "Utf8Encoding.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

// A byte that means a character by itself.
struct SingleByte {
    std::uint8_t byte;
    char16_t character;
};

enum class Platform { eMacintosh, eWindows };

// An encoding of one and two bytes a character; ASCII below 0x80 in all of them.
struct MultiByteEncoding {
    Platform platform;
    unsigned number;   // of the encoding on that platform
    const char* name;  // as iconv knows it
    // Bytes from 0x80 on that stand by themselves and that iconv converts (half-width Katakana).
    std::uint8_t firstAlone;
    std::uint8_t lastAlone;
    // What the platform has beside what iconv knows; zeros at the end.
    std::array<SingleByte, 6> singles;
};

// Apple's additions: unicode.org, Public/MAPPINGS/VENDORS/APPLE (JAPANESE, CHINTRAD, KOREAN and
// CHINSIMP.TXT).
constexpr MultiByteEncoding kEncodings[] = {
    {Platform::eMacintosh,
     1,
     "CP932",
     0xA1,
     0xDF,
     {{{0x80, 0x5C}, {0xA0, 0xA0}, {0xFD, 0xA9}, {0xFE, 0x2122}, {0xFF, 0x2026}}}},
    {Platform::eMacintosh,
     2,
     "CP950",
     0,
     0,
     {{{0x80, 0x5C}, {0xA0, 0xA0}, {0xFD, 0xA9}, {0xFE, 0x2122}, {0xFF, 0x2026}}}},
    {Platform::eMacintosh,
     3,
     "CP949",
     0,
     0,
     {{{0x80, 0xA0},
       {0x81, 0x20A9},
       {0x82, 0x2014},
       {0x83, 0xA9},
       {0xFE, 0x2122},
       {0xFF, 0x2026}}}},
    {Platform::eMacintosh,
     25,
     "CP936",
     0,
     0,
     {{{0x80, 0xFC}, {0xA0, 0xA0}, {0xFD, 0xA9}, {0xFE, 0x2122}, {0xFF, 0x2026}}}},
    {Platform::eWindows, 2, "CP932", 0xA1, 0xDF, {}},
    {Platform::eWindows, 3, "CP936", 0, 0, {{{0x80, 0x20AC}}}},
    {Platform::eWindows, 4, "CP950", 0, 0, {}},
    {Platform::eWindows, 5, "CP949", 0, 0, {}},
    {Platform::eWindows, 6, "JOHAB", 0, 0, {}},
};

constexpr std::size_t kNoEncoding = std::size(kEncodings);

std::size_t multiByteEncoding(Platform platform, unsigned number) {
    const auto* const found = std::find_if(
        std::begin(kEncodings), std::end(kEncodings),
        [=](const auto& row) { return row.platform == platform && row.number == number; });
    return static_cast<std::size_t>(found - std::begin(kEncodings));
}

// One of iconv's conversions into UTF-8. Opening one reads a module, so a thread keeps those that
// it has used.
class Conversion {
  public:
    Conversion() = default;
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;
    ~Conversion() {
        if (isOpen()) {
            iconv_close(descriptor_);
        }
    }

    /// Appends `bytes`; each of `bytes` that iconv has no character for, or all of them when it
    /// does not know the encoding, as one U+FFFD with the byte that follows it.
    void append(std::string& out, std::string_view bytes, const char* encoding) {
        if (!tried_) {
            tried_ = true;
            descriptor_ = iconv_open("UTF-8", encoding);
        }
        while (!bytes.empty()) {
            if (isOpen()) {
                bytes.remove_prefix(convert(out, bytes));
            }
            if (!bytes.empty()) {
                appendUtf8(out, kReplacement);
                bytes.remove_prefix(std::min<std::size_t>(bytes.size(), 2));
            }
        }
    }

  private:
    bool isOpen() const { return descriptor_ != closed(); }
    // What iconv_open answers when it fails.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    static iconv_t closed() { return reinterpret_cast<iconv_t>(-1); }

    // Converts until something is in the way; how many bytes it has converted.
    std::size_t convert(std::string& out, std::string_view bytes) {
        iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
        char* from = const_cast<char*>(bytes.data());  // which iconv does not write to
        std::size_t left = bytes.size();
        std::array<char, 512> text;
        bool full = true;
        while (full && left > 0) {
            char* to = text.data();
            std::size_t room = text.size();
            const std::size_t result = iconv(descriptor_, &from, &left, &to, &room);
            full = result == static_cast<std::size_t>(-1) && errno == E2BIG;
            out.append(text.data(), text.size() - room);
        }
        return bytes.size() - left;
    }

    iconv_t descriptor_ = closed();
    bool tried_ = false;
};

class MultiByteDecoder {
  public:
    MultiByteDecoder(std::size_t index, std::string& out)
        : encoding_(kEncodings[index]), conversion_(conversions()[index]), out_(out) {}

    void decode(std::string_view text) {
        std::size_t at = 0;
        while (at < text.size()) {
            const auto byte = static_cast<std::uint8_t>(text[at]);
            if (byte < 0x80) {
                out_ += text[at++];
            } else if (const SingleByte* single = findSingle(byte)) {
                appendUtf8(out_, single->character);
                ++at;
            } else {
                const std::size_t end = endOfRun(text, at);
                conversion_.append(out_, text.substr(at, end - at), encoding_.name);
                at = end;
            }
        }
    }

  private:
    static std::array<Conversion, std::size(kEncodings)>& conversions() {
        thread_local std::array<Conversion, std::size(kEncodings)> opened;
        return opened;
    }
    const SingleByte* findSingle(std::uint8_t byte) const {
        const auto found =
            std::find_if(encoding_.singles.begin(), encoding_.singles.end(),
                         [byte](const SingleByte& single) { return single.byte == byte; });
        return found == encoding_.singles.end() ? nullptr : &*found;
    }
    // The end of the characters from `at` on that are iconv's to convert.
    std::size_t endOfRun(std::string_view text, std::size_t at) const {
        while (at < text.size()) {
            const auto byte = static_cast<std::uint8_t>(text[at]);
            if (byte < 0x80 || findSingle(byte) != nullptr) {
                break;
            }
            const bool alone = encoding_.firstAlone <= byte && byte <= encoding_.lastAlone;
            at += alone ? 1 : 2;
        }
        return std::min(at, text.size());
    }

    const MultiByteEncoding& encoding_;
    Conversion& conversion_;
    std::string& out_;
};

std::string fromMultiByte(std::string_view text, std::size_t encoding) {
    std::string result;
    result.reserve(text.size() * 2);
    MultiByteDecoder(encoding, result).decode(text);
    return result;
}

std::string fromEightBit(std::string_view text, const MacUpperHalf* table) {
    std::string result;
    result.reserve(text.size() * 2);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        const auto next = static_cast<std::uint8_t>(i + 1 < text.size() ? text[i + 1] : 0);
        if (byte < 0x80) {
            result += text[i];
        } else if (const MacSequence* sequence = macSequence(table, byte, next)) {
            for (const char16_t character : sequence->characters) {
                if (character != 0) {
                    appendUtf8(result, character);
                }
            }
            i += sequence->second == 0 ? 0 : 1;
        } else {
            const char16_t character = table == nullptr ? u'\0' : (*table)[byte - 0x80u];
            appendUtf8(result, character == 0 ? kReplacement : character);
        }
    }
    return result;
}

// The length of the UTF-8 character at the start of `text`; 0 when there is none (RFC 3629).
std::size_t utf8Length(std::string_view text) {
    const auto byte = [&text](std::size_t i) {
        return i < text.size() ? static_cast<std::uint8_t>(text[i]) : std::uint8_t{0};
    };
    const std::uint8_t lead = byte(0);
    const std::size_t length = lead < 0x80             ? 1
                               : lead - 0xC2u < 0x1Eu  ? 2
                               : (lead & 0xF0) == 0xE0 ? 3
                               : lead - 0xF0u <= 0x04u ? 4
                                                       : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool none = (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF4 && byte(1) > 0x8F);
    return overlong || none ? 0 : length;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace

std::string fromUtf16(ByteView bytes) {
    std::string result;
    result.reserve(bytes.size());
    const std::size_t end = bytes.size() / 2 * 2;
    for (std::size_t i = 0; i < end; i += 2) {
        char32_t character = bytes.u16be(i);
        if ((character & 0xF800) == 0xD800) {
            const char32_t low = i + 2 < end ? bytes.u16be(i + 2) : 0;
            if (character < 0xDC00 && (low & 0xFC00) == 0xDC00) {
                character = 0x10000 + ((character & 0x3FF) << 10) + (low & 0x3FF);
                i += 2;
            } else {
                character = kReplacement;
            }
        }
        appendUtf8(result, character);
    }
    return result;
}

std::string fromWindowsEncoding(ByteView bytes, unsigned encoding) {
    const std::size_t index = multiByteEncoding(Platform::eWindows, encoding);
    if (index == kNoEncoding) {
        return fromUtf16(bytes);
    }
    // Some tools write each byte as a 16-bit value.
    std::string text(bytes.text());
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    return isAscii(text) ? text : fromMultiByte(text, index);
}

std::string fromMacScript(ByteView bytes, unsigned script, unsigned language) {
    const std::string_view text = bytes.text();
    if (isAscii(text)) {
        return std::string(text);
    }
    const std::size_t encoding = multiByteEncoding(Platform::eMacintosh, script);
    return encoding != kNoEncoding ? fromMultiByte(text, encoding)
                                   : fromEightBit(text, macUpperHalf(script, language));
}

std::string fromUnstated(std::string_view bytes) {
    if (isUtf8(bytes)) {
        return std::string(bytes);
    }
    std::string result;
    result.reserve(bytes.size() * 2);
    for (const char byte : bytes) {
        appendUtf8(result, static_cast<std::uint8_t>(byte));
    }
    return result;
}

char32_t macScriptCharacter(unsigned script, std::uint8_t byte) {
    constexpr unsigned kNoLanguage = 0xFFFF;
    const MacUpperHalf* table = macUpperHalf(script, kNoLanguage);
    if (table == nullptr || byte < 0x80) {
        return table == nullptr ? 0 : byte;
    }
    return macSequence(table, byte, 0) != nullptr ? 0 : (*table)[byte - 0x80u];
}
