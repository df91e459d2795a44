#include "SafeNames.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>

#include "Ascii.h"
#include "TextDecoding.h"

namespace {

// Putting combining marks in order takes quadratic time, and no character is made of that many
// bytes that less than a whole name would be left of these.
constexpr std::size_t kMostBytesLookedAt = 1024;
// What is longer behind a dot is no extension.
constexpr std::size_t kLongestExtension = 16;

constexpr std::string_view kReplaced = "/\\:*?\"<>|";
constexpr std::string_view kNotInFront = ".- ";
constexpr std::string_view kNotAtEnd = ". ";
// Embeddings, overrides and isolates of the Unicode Bidirectional Algorithm, the zero width space
// and the byte order mark; the joiners are needed in many scripts.
constexpr std::string_view kHidden[] = {"\u202A", "\u202B", "\u202C", "\u202D", "\u202E", "\u2066",
                                        "\u2067", "\u2068", "\u2069", "\u200B", "\uFEFF"};
// Windows, "Naming Files, Paths, and Namespaces".
constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
constexpr std::string_view kNumberedDevices[] = {"COM", "LPT"};
constexpr std::string_view kDeviceNumbers[] = {"0", "1", "2", "3", "4", "5", "6",
                                               "7", "8", "9", "¹", "²", "³"};

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// At most `most` bytes of UTF-8, whole characters.
std::string_view cut(std::string_view text, std::size_t most) {
    if (text.size() <= most) {
        return text;
    }
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) {
        --most;
    }
    return text.substr(0, most);
}

std::string mapped(std::string_view text, int options) {
    utf8proc_uint8_t* bytes = nullptr;
    const utf8proc_ssize_t size =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                     static_cast<utf8proc_ssize_t>(text.size()), &bytes,
                     static_cast<utf8proc_option_t>(options | UTF8PROC_STABLE | UTF8PROC_COMPOSE));
    const std::unique_ptr<utf8proc_uint8_t, void (*)(void*)> owner(bytes, std::free);
    if (size == UTF8PROC_ERROR_NOMEM) {
        throw std::bad_alloc();
    }
    return size < 0
               ? std::string(text)
               : std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::string normalised(std::string_view text) {
    if (isAscii(text)) {
        return std::string(cut(text, kMostBytesLookedAt));
    }
    const std::string utf8 = fromUnstated(text);
    return mapped(cut(utf8, kMostBytesLookedAt), 0);
}

// Bytes of the character at the front when it is not seen and only turns what stands behind it, so
// that a name would not look like what it is.
std::size_t hiddenCharacter(std::string_view text) {
    const auto isHidden = [text](std::string_view one) { return text.starts_with(one); };
    return std::any_of(std::begin(kHidden), std::end(kHidden), isHidden) ? kHidden[0].size() : 0;
}

std::string withoutBadCharacters(std::string_view text) {
    std::string good;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (const std::size_t hidden = hiddenCharacter(text.substr(i)); hidden > 0) {
            good += '_';
            i += hidden - 1;
            continue;
        }
        const auto byte = static_cast<unsigned char>(text[i]);
        // U+0080 to U+009F are control characters, too.
        const bool isLateControl =
            byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        const bool isBad = byte < 0x20 || byte == 0x7F || isLateControl ||
                           kReplaced.find(text[i]) != std::string_view::npos;
        good += isBad ? '_' : text[i];
        i += isLateControl ? 1 : 0;
    }
    return good;
}

std::string_view withoutBadEnds(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kNotInFront);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kNotAtEnd) + 1 - begin);
}

bool isDevice(std::string_view stem) {
    const std::string upper = ascii::toUpper(stem);
    const auto isNumbered = [&upper](std::string_view device) {
        return upper.starts_with(device) &&
               std::find(std::begin(kDeviceNumbers), std::end(kDeviceNumbers),
                         std::string_view(upper).substr(device.size())) != std::end(kDeviceNumbers);
    };
    return std::find(std::begin(kDevices), std::end(kDevices), upper) != std::end(kDevices) ||
           std::any_of(std::begin(kNumberedDevices), std::end(kNumberedDevices), isNumbered);
}

// Windows looks at what is before the first dot, without blanks at its end.
std::string noDevice(std::string_view name) {
    const std::string_view stem = name.substr(0, name.find('.'));
    const std::size_t end = stem.find_last_not_of(' ') + 1;
    std::string other(name);
    if (isDevice(stem.substr(0, end))) {
        other.insert(end, "_");
    }
    return other;
}

std::string safeText(std::string_view text) {
    const std::string good = withoutBadCharacters(normalised(text));
    return noDevice(withoutBadEnds(good));
}

// With its dot; empty without one.
std::string_view extensionOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const bool isOne =
        dot != std::string_view::npos && dot > 0 && name.size() - dot <= kLongestExtension;
    return isOne ? name.substr(dot) : std::string_view();
}

std::string_view stemOf(std::string_view name) {
    return name.substr(0, name.size() - extensionOf(name).size());
}

// Suffix and extension are kept whole; the stem makes room for them.
std::string joined(std::string_view stem, std::string_view suffix, std::string_view extension) {
    const std::size_t room = kLongestSafeName - suffix.size() - extension.size();
    std::string name(withoutBadEnds(cut(stem, room)));
    return name.append(suffix).append(extension);
}

}  // namespace

std::string safeName(std::string_view text) {
    const std::string safe = safeText(text);
    return std::string(withoutBadEnds(cut(safe, kLongestSafeName)));
}

std::string safeFileName(std::string_view text) {
    const std::string safe = safeText(text);
    if (safe.size() <= kLongestSafeName) {
        return safe.empty() ? "_" : safe;
    }
    return joined(stemOf(safe), "", extensionOf(safe));
}

std::string initialOf(std::string_view safeName) {
    std::size_t length = safeName.empty() ? 0 : 1;
    while (length < safeName.size() &&
           (static_cast<unsigned char>(safeName[length]) & 0xC0) == 0x80) {
        ++length;
    }
    return std::string(safeName.substr(0, length));
}

std::string numberedFileName(std::string_view safeFileName, unsigned number) {
    return joined(stemOf(safeFileName), "-" + std::to_string(number), extensionOf(safeFileName));
}

std::string numberedFolderName(std::string_view safeFileName, unsigned number) {
    return joined(stemOf(safeFileName), "-" + std::to_string(number), "");
}

std::string caseFolded(std::string_view name) {
    return mapped(fromUnstated(name), UTF8PROC_CASEFOLD);
}
