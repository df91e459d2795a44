#include "FondViews.h"

namespace {

constexpr std::uint64_t kEntries = 54;
constexpr std::uint64_t kEntrySize = 6;

}  // namespace

std::optional<AsscEntry> FondView::entry(unsigned index) const {
    const std::uint64_t offset = kEntries + kEntrySize * index;
    if (!fond_.bytes().holds(offset, kEntrySize)) {
        return std::nullopt;
    }
    return AsscEntry{fond_.s16be(offset), fond_.u16be(offset + 2), fond_.s16be(offset + 4)};
}

std::vector<AsscEntry> FondView::entries() const {
    std::vector<AsscEntry> entries;
    const int last = static_cast<std::int16_t>(entryCountWord());
    for (int i = 0; i <= last; ++i) {
        const auto found = entry(static_cast<unsigned>(i));
        if (!found) {
            break;
        }
        entries.push_back(*found);
    }
    return entries;
}

NameTable::NameTable(ZeroPaddedView table) : count_(table.s16be(0)) {
    std::uint64_t offset = 2;
    for (std::size_t n = 1; n < strings_.size(); ++n) {
        strings_[n] = table.pascalString(offset);
        offset += 1u + table.u8(offset);
    }
}

std::optional<std::string_view> NameTable::string(std::uint8_t n) const {
    if (n == 0 || n > count_) {
        return std::nullopt;
    }
    return strings_[n];
}
