#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "ByteView.h"
#include "MacErrors.h"

/// Whether `start`, the first 16 bytes of a fork of `length` bytes, is a resource header whose map
/// lies inside the fork.
bool isPlausibleResourceHeader(ByteView start, std::uint64_t length);

/// Reader of the published resource-file format (Inside Macintosh: More Macintosh Toolbox, 1-121 to
/// 1-125), all big-endian:
///
///     header:    data offset 4 | map offset 4 | data length 4 | map length 4
///     data:      at data offset + a reference's offset: length 4, then the bytes
///     map:       24 bytes | type list offset 2 | name list offset 2
///     type list: types - 1: 2 | type 4, references - 1: 2, reference list offset 2 | …
///     reference: id 2 | name offset 2 | attributes 1 | data offset 3 | 4 bytes
///     name:      length 1 | Mac Roman text
///
/// Offsets of type and name list count from the map's start, those of reference lists from the type
/// list's. All offsets are unsigned; ids are signed.
///
/// The reader looks at bytes that it does not own. Whatever the counts in a map claim, it keeps no
/// more than the map has room for. It reads a type's references when the type is first asked for;
/// so one thread uses an object at a time.
class ResourceFile {
  public:
    static constexpr std::uint8_t kCompressed = 0x01;

    struct Reference {
        std::int16_t id = 0;
        std::uint16_t nameOffset = 0;
        std::uint8_t attributes = 0;
        std::uint32_t dataOffset = 0;
        std::uint32_t position = 0;  // of the reference in the map
    };
    struct Data {
        std::int16_t status = 0;  // noErr, resNotFound, CantDecompress
        ByteView bytes;
    };

    /// eofErr for an empty fork; mapReadErr when header, map or type list do not lie inside the
    /// fork or the map is shorter than 30 bytes; the object is then without resources.
    std::int16_t open(ByteView fork);

    /// The types in the order of the map; of two entries for one type the first counts.
    std::vector<std::uint32_t> types() const;
    bool holdsType(std::uint32_t type) const;
    /// How many references the map claims for a type, whether they lie inside it or not.
    std::uint32_t claimedReferences(std::uint32_t type) const;
    /// The references of a type in the order of the map, as far as they lie inside it.
    std::span<const Reference> references(std::uint32_t type);
    /// The first reference of a type with this id; null when there is none.
    const Reference* find(std::uint32_t type, std::int16_t id);
    /// The name, empty without one or when it does not lie inside the map; Mac Roman.
    std::string_view name(const Reference& reference) const;
    /// The bytes of a resource. They may lie past the data area's end, but not past the fork's.
    Data data(const Reference& reference) const;

  private:
    struct TypeEntry {
        std::uint32_t type = 0;
        std::uint32_t count = 0;   // of references, as claimed
        std::uint32_t offset = 0;  // of the first reference, from the map's start
        std::uint32_t place = 0;   // in the type list
    };
    struct TypeIndex {
        std::vector<Reference> references;
        std::vector<std::pair<std::int16_t, std::uint32_t>> byId;  // sorted, with the place
    };

    void readTypes(std::uint32_t typeList, std::uint32_t count);
    const TypeEntry* entry(std::uint32_t type) const;
    const TypeIndex& index(std::uint32_t type);

    ByteView fork_;
    ByteView map_;
    std::uint32_t dataStart_ = 0;
    std::uint32_t nameList_ = 0;
    std::vector<TypeEntry> types_;  // sorted by type
    std::map<std::uint32_t, TypeIndex> indexes_;
};
