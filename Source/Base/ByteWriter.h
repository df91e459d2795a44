#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "ByteView.h"

/// Builds a block of bytes front to back, the counterpart of ByteView. May throw std::bad_alloc.
class ByteWriter {
  public:
    ByteWriter& u8(std::uint8_t value) {
        out_.push_back(value);
        return *this;
    }
    ByteWriter& u16be(std::uint16_t value) {
        return u8(static_cast<std::uint8_t>(value >> 8)).u8(static_cast<std::uint8_t>(value));
    }
    ByteWriter& u24be(std::uint32_t value) {
        return u8(static_cast<std::uint8_t>(value >> 16)).u16be(static_cast<std::uint16_t>(value));
    }
    ByteWriter& u32be(std::uint32_t value) {
        return u16be(static_cast<std::uint16_t>(value >> 16))
            .u16be(static_cast<std::uint16_t>(value));
    }
    ByteWriter& bytes(ByteView view) {
        out_.insert(out_.end(), view.data(), view.data() + view.size());
        return *this;
    }
    ByteWriter& text(std::string_view value) {
        out_.insert(out_.end(), value.begin(), value.end());
        return *this;
    }
    ByteWriter& zeros(std::size_t count) {
        out_.resize(out_.size() + count);
        return *this;
    }
    /// Zeros up to the next multiple of `unit`.
    ByteWriter& padTo(std::size_t unit) { return zeros((unit - out_.size() % unit) % unit); }

    std::size_t size() const { return out_.size(); }
    ByteView view() const { return ByteView(out_.data(), out_.size()); }
    std::vector<std::uint8_t> take() { return std::exchange(out_, {}); }

  private:
    std::vector<std::uint8_t> out_;
};
