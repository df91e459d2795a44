#pragma once

#include <cstdint>
#include <stdexcept>

#include "ByteView.h"

/// A value of a CFF font that cannot be. The message says which; the offset is the file's.
class CffDamage : public std::runtime_error {
  public:
    CffDamage(const std::string& what, const char* field, std::uint64_t offset)
        : std::runtime_error(what), field_(field), offset_(offset) {}

    const char* field() const { return field_; }
    std::uint64_t offset() const { return offset_; }

  private:
    const char* field_;
    std::uint64_t offset_;
};

/// An INDEX of CFF (Adobe Technical Note 5176, chapter 5): objects of varying size. Reads its
/// offsets when an object is asked for.
class CffIndex {
  public:
    CffIndex() = default;
    /// The one at an offset of the file; `field`, a literal, is its name. Throws CffDamage, or
    /// ReadPastEnd when its offsets do not lie in the file.
    CffIndex(ByteView file, std::uint64_t offset, const char* field);

    std::uint32_t count() const { return count_; }
    /// Throws ReadPastEnd for one that does not lie in the file.
    ByteView object(std::uint32_t number) const;
    /// The offset behind the last object, by the last offset.
    std::uint64_t end() const;

  private:
    std::uint64_t place(std::uint32_t number) const;

    ByteView file_;
    std::uint64_t offset_ = 0;
    const char* field_ = "";
    std::uint32_t count_ = 0;
    std::uint32_t offsetSize_ = 0;
};
