#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "ByteView.h"

/// Takes an input apart from its front: a target that needs more than one value reads them one by
/// one. What is missing is zero or empty.
class InputParts {
  public:
    explicit InputParts(ByteView input) : rest_(input) {}

    bool empty() const { return rest_.empty(); }
    std::uint8_t u8() { return ZeroPaddedView(take(1)).u8(0); }
    std::uint16_t u16() { return ZeroPaddedView(take(2)).u16be(0); }
    std::uint32_t u32() { return ZeroPaddedView(take(4)).u32be(0); }
    /// The next `count` bytes, fewer at the end.
    ByteView take(std::size_t count) {
        const ByteView part = rest_.clamped(0, count);
        rest_ = rest_.from(part.size());
        return part;
    }
    /// A length of one byte, then so many bytes.
    ByteView shortPart() { return take(u8()); }
    /// A length of two bytes, then so many bytes.
    ByteView longPart() { return take(u16()); }
    std::string shortText() { return std::string(shortPart().text()); }
    ByteView rest() const { return rest_; }

  private:
    ByteView rest_;
};
