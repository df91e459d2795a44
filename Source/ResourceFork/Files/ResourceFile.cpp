#include "ResourceFile.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kHeaderSize = 16;
constexpr std::uint32_t kSmallestMap = 30;
constexpr std::uint32_t kTypeListOffsetAt = 24;
constexpr std::uint32_t kNameListOffsetAt = 26;
constexpr std::uint32_t kTypeEntrySize = 8;
constexpr std::uint32_t kReferenceSize = 12;
constexpr std::uint16_t kNoName = 0xFFFF;
constexpr std::uint32_t kCompressedMagic = 0xA89F6572;

// Counts are stored less one; all ones stands for none.
std::uint32_t countOf(std::uint16_t stored) {
    return (stored + 1u) & 0xFFFF;
}

}  // namespace

bool isPlausibleResourceHeader(ByteView start, std::uint64_t length) {
    if (start.size() < kHeaderSize) {
        return false;
    }
    const std::uint64_t mapOffset = start.u32be(4);
    const std::uint64_t mapLength = start.u32be(12);
    return mapLength >= kSmallestMap && mapOffset + mapLength <= length;
}

std::int16_t ResourceFile::open(ByteView fork) {
    *this = ResourceFile();
    if (fork.empty()) {
        return eofErr;
    }
    if (!isPlausibleResourceHeader(fork, fork.size())) {
        return mapReadErr;
    }
    const ByteView map = fork.slice(fork.u32be(4), fork.u32be(12));
    const std::uint32_t typeList = map.u16be(kTypeListOffsetAt);
    if (!map.holds(typeList, 2)) {
        return mapReadErr;
    }
    const std::uint32_t count = countOf(map.u16be(typeList));
    if (!map.holds(typeList + 2, std::uint64_t{count} * kTypeEntrySize)) {
        return mapReadErr;
    }
    fork_ = fork;
    map_ = map;
    dataStart_ = fork.u32be(0);
    nameList_ = map.u16be(kNameListOffsetAt);
    readTypes(typeList, count);
    return noErr;
}

void ResourceFile::readTypes(std::uint32_t typeList, std::uint32_t count) {
    std::vector<TypeEntry> entries(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t at = typeList + 2 + kTypeEntrySize * i;
        entries[i].type = map_.u32be(at);
        entries[i].count = countOf(map_.u16be(at + 4));
        entries[i].offset = typeList + map_.u16be(at + 6);
        entries[i].place = i;
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const TypeEntry& a, const TypeEntry& b) { return a.type < b.type; });
    entries.erase(
        std::unique(entries.begin(), entries.end(),
                    [](const TypeEntry& a, const TypeEntry& b) { return a.type == b.type; }),
        entries.end());
    types_ = std::move(entries);
}

std::vector<std::uint32_t> ResourceFile::types() const {
    std::vector<TypeEntry> entries = types_;
    std::sort(entries.begin(), entries.end(),
              [](const TypeEntry& a, const TypeEntry& b) { return a.place < b.place; });
    std::vector<std::uint32_t> result;
    result.reserve(entries.size());
    for (const TypeEntry& entry : entries) {
        result.push_back(entry.type);
    }
    return result;
}

bool ResourceFile::holdsType(std::uint32_t type) const {
    return entry(type) != nullptr;
}

std::uint32_t ResourceFile::claimedReferences(std::uint32_t type) const {
    const TypeEntry* found = entry(type);
    return found != nullptr ? found->count : 0;
}

const ResourceFile::TypeEntry* ResourceFile::entry(std::uint32_t type) const {
    const auto found =
        std::lower_bound(types_.begin(), types_.end(), type,
                         [](const TypeEntry& e, std::uint32_t t) { return e.type < t; });
    return found != types_.end() && found->type == type ? &*found : nullptr;
}

const ResourceFile::TypeIndex& ResourceFile::index(std::uint32_t type) {
    static const TypeIndex kNone;
    const TypeEntry* wanted = entry(type);
    if (wanted == nullptr) {
        return kNone;
    }
    const auto [found, isNew] = indexes_.try_emplace(type);
    TypeIndex& result = found->second;
    if (!isNew) {
        return result;
    }
    const auto room = static_cast<std::uint32_t>(map_.clamped(wanted->offset, map_.size()).size() /
                                                 kReferenceSize);
    const std::uint32_t count = std::min(wanted->count, room);
    result.references.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t at = wanted->offset + kReferenceSize * i;
        result.references.push_back(
            {map_.s16be(at), map_.u16be(at + 2), map_.u8(at + 4), map_.u24be(at + 5), at});
        result.byId.emplace_back(result.references.back().id, i);
    }
    std::sort(result.byId.begin(), result.byId.end());
    return result;
}

std::span<const ResourceFile::Reference> ResourceFile::references(std::uint32_t type) {
    return index(type).references;
}

const ResourceFile::Reference* ResourceFile::find(std::uint32_t type, std::int16_t id) {
    const TypeIndex& found = index(type);
    const auto first = std::lower_bound(found.byId.begin(), found.byId.end(),
                                        std::pair<std::int16_t, std::uint32_t>(id, 0));
    return first != found.byId.end() && first->first == id ? &found.references[first->second]
                                                           : nullptr;
}

std::string_view ResourceFile::name(const Reference& reference) const {
    const std::uint64_t at = std::uint64_t{nameList_} + reference.nameOffset;
    if (reference.nameOffset == kNoName || !map_.holds(at, 1)) {
        return {};
    }
    const std::uint32_t length = map_.u8(at);
    return map_.holds(at + 1, length) ? map_.slice(at + 1, length).text() : std::string_view();
}

ResourceFile::Data ResourceFile::data(const Reference& reference) const {
    const std::uint64_t at = std::uint64_t{dataStart_} + reference.dataOffset;
    if (!fork_.holds(at, 4) || !fork_.holds(at + 4, fork_.u32be(at))) {
        return {resNotFound, {}};
    }
    const ByteView bytes = fork_.slice(at + 4, fork_.u32be(at));
    if ((reference.attributes & kCompressed) != 0 && bytes.holds(0, 4) &&
        bytes.u32be(0) == kCompressedMagic) {
        return {CantDecompress, {}};
    }
    return {noErr, bytes};
}
