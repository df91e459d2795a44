#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ByteView.h"
#include "FourCharCode.h"
#include "ResourceFile.h"

/// The resource types that fonts are made of (Inside Macintosh: Text, chapter 4; Adobe Technical
/// Note 5040 for 'POST').
enum class FontResourceType : std::uint32_t {
    eFamily = fourCharCode("FOND"),
    eOutline = fourCharCode("sfnt"),
    eStrike = fourCharCode("NFNT"),
    eOldStrike = fourCharCode("FONT"),
    eProgram = fourCharCode("POST"),
};

/// The type as its four characters.
std::string typeText(FontResourceType type);

/// Text that belongs to a resource, as UTF-8: the script of the resource's number says how it is
/// written (Inside Macintosh: Text, appendix B: from 16384 on, 512 numbers a script).
std::string resourceText(std::string_view text, std::int16_t id);

/// A resource of a font file.
struct FontResource {
    FontResourceType type{};
    std::int16_t id = 0;
    std::string name;  // UTF-8; empty: none
    std::int16_t status = resNotFound;
    ByteView bytes;  // with noErr

    /// As people write it: `NFNT 1234`.
    std::string label() const;
    /// Whether it stands in the map, readable or not.
    bool exists = false;
};

/// The font resources of a resource file, in the order of its map; of several with one number the
/// first is the one that counts. Looks at bytes that it does not own.
class FontResources {
  public:
    /// The status of ResourceFile::open.
    std::int16_t open(ByteView fork);

    bool holds(FontResourceType type) const {
        return file_.holdsType(static_cast<std::uint32_t>(type));
    }
    bool holdsAny() const;
    /// Numbers of a type in map order, each once.
    std::vector<std::int16_t> ids(FontResourceType type);
    /// Numbers that stand more than once.
    std::vector<std::int16_t> repeatedIds(FontResourceType type);
    /// How many references the map claims beyond those that lie inside it.
    std::uint32_t lostReferences(FontResourceType type);

    bool has(FontResourceType type, std::int16_t id);
    /// `exists` is false when there is none.
    FontResource get(FontResourceType type, std::int16_t id);
    std::size_t size() const { return size_; }

  private:
    ResourceFile file_;
    std::size_t size_ = 0;
};
