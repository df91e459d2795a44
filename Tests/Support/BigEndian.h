#pragma once

#include <algorithm>
#include <string_view>

#include "Support.h"

/// Bytes put together from big-endian values.
class BigEndian {
  public:
    // Of any number the low bytes.
    BigEndian& u8(auto value) { return put(static_cast<std::uint32_t>(value), 1); }
    BigEndian& u16(auto value) { return put(static_cast<std::uint32_t>(value), 2); }
    BigEndian& u32(auto value) { return put(static_cast<std::uint32_t>(value), 4); }
    BigEndian& text(std::string_view text) {
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    BigEndian& append(const Bytes& bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    BigEndian& zeros(std::size_t count) {
        bytes_.resize(bytes_.size() + count);
        return *this;
    }
    BigEndian& padTo(std::size_t size) {
        bytes_.resize(std::max(size, bytes_.size()));
        return *this;
    }
    /// Up to the next multiple of `unit`.
    BigEndian& padUnit(std::size_t unit) { return padTo((size() + unit - 1) / unit * unit); }
    std::size_t size() const { return bytes_.size(); }
    operator Bytes() const { return bytes_; }

  private:
    BigEndian& put(std::uint32_t value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
            bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
        }
        return *this;
    }

    Bytes bytes_;
};

/// Overwrites a big-endian value of 1, 2 or 4 bytes.
void patch(Bytes& bytes, std::size_t offset, int width, std::uint32_t value);
std::uint32_t get32(const Bytes& bytes, std::size_t at);
/// A four-character code as a number.
std::uint32_t code(std::string_view text);
void append(Bytes& bytes, const Bytes& more);
