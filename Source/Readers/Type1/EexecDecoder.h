#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "ByteView.h"

/// The clear bytes of a part that `eexec` encrypted (Adobe Type 1 Font Format 1.1, chapter 7),
/// binary or in hexadecimal digits, behind the four random bytes that precede them there.
class DecodedEexec {
  public:
    explicit DecodedEexec(ByteView encrypted);

    std::string_view text() const { return {reinterpret_cast<const char*>(bytes_.get()), size_}; }

  private:
    std::unique_ptr<std::uint8_t[]> bytes_;  // no string, which would be filled with zeros first
    std::size_t size_ = 0;
};
