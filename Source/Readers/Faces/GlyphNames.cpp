#include "GlyphNames.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "GlyphList.h"

namespace {

constexpr std::size_t kNames = std::size(kGlyphList);
constexpr std::size_t kSlots = 16384;  // a power of two, so that the lookups are short
constexpr std::uint16_t kEmpty = 0xFFFF;
constexpr char32_t kLastCharacter = 0x10FFFF;

// FNV-1a of the characters before the first full stop, whose place it finds by the way.
struct NameHash {
    std::uint32_t hash = 0x811C9DC5;
    std::size_t size = 0;

    constexpr explicit NameHash(std::string_view name) {
        for (; size < name.size() && name[size] != '.'; ++size) {
            hash = (hash ^ static_cast<std::uint8_t>(name[size])) * 0x01000193;
        }
        hash ^= hash >> 15;
    }
};

constexpr std::size_t textSize() {
    std::size_t size = 0;
    for (const GlyphListRow& row : kGlyphList) {
        size += std::string_view(row.name).size();
    }
    return size;
}

// The list for lookup: an open hash table without a pointer in it.
class GlyphListIndex {
  public:
    GlyphListIndex() {
        slots_.fill(kEmpty);
        std::size_t end = 0;
        for (std::size_t i = 0; i < kNames; ++i) {
            const std::string_view name = kGlyphList[i].name;
            begins_[i] = static_cast<std::uint16_t>(end);
            characters_[i] = kGlyphList[i].character;
            for (const char c : name) {
                text_[end++] = c;
            }
            slots_[slotOf(name, NameHash(name).hash)] = static_cast<std::uint16_t>(i);
        }
        begins_[kNames] = static_cast<std::uint16_t>(end);
    }

    constexpr char32_t find(std::string_view name, std::uint32_t hash) const {
        const std::uint16_t index = slots_[slotOf(name, hash)];
        return index == kEmpty ? 0 : characters_[index];
    }

  private:
    // The slot that holds the name, or the empty one where it would stand.
    constexpr std::size_t slotOf(std::string_view name, std::uint32_t hash) const {
        std::size_t slot = hash % kSlots;
        while (slots_[slot] != kEmpty && nameAt(slots_[slot]) != name) {
            slot = (slot + 1) % kSlots;
        }
        return slot;
    }
    constexpr std::string_view nameAt(std::size_t index) const {
        const std::size_t begin = begins_[index];
        return std::string_view(text_.data() + begin, begins_[index + 1] - begin);
    }

    std::array<char, textSize()> text_{};
    std::array<std::uint16_t, kNames + 1> begins_{};
    std::array<char16_t, kNames> characters_{};
    std::array<std::uint16_t, kSlots> slots_{};
};
static_assert(textSize() <= 0xFFFF);

// Made on first use: more steps than clang lets a constant take.
const GlyphListIndex& listIndex() {
    static const GlyphListIndex index;
    return index;
}

constexpr bool isUpperHexadecimal(std::string_view digits) {
    for (const char c : digits) {
        if ((c < '0' || c > '9') && (c < 'A' || c > 'F')) {
            return false;
        }
    }
    return true;
}

// The character that upper-case digits name; 0 when they name none.
char32_t characterOf(std::string_view digits) {
    std::uint32_t character = 0;
    if (!isUpperHexadecimal(digits)) {
        return 0;
    }
    std::from_chars(digits.data(), digits.data() + digits.size(), character, 16);
    const bool surrogate = (character & 0xFFFFF800) == 0xD800;
    return surrogate || character > kLastCharacter ? 0 : character;
}

}  // namespace

char32_t glyphNameCharacter(std::string_view name) {
    const NameHash hashed(name);
    name = name.substr(0, hashed.size);
    if (const char32_t listed = listIndex().find(name, hashed.hash)) {
        return listed;
    }
    // Names of several components have a low line in them, which is no digit.
    constexpr std::size_t kUniLength = 7;
    if (name.size() == kUniLength && name.starts_with("uni")) {
        return characterOf(name.substr(3));
    }
    if (name.size() >= 5 && name.size() <= 7 && name.front() == 'u') {
        return characterOf(name.substr(1));
    }
    return 0;
}
