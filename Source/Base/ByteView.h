#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

#include "Export.h"

/// A read outside a view. Carries what was read and where, for the log; the message itself is
/// fixed, since it becomes part of diagnostics.
class OXPARSER_EXPORT ReadPastEnd : public std::runtime_error {
  public:
    ReadPastEnd(const char* field, std::uint64_t offset, std::uint64_t count);
    ~ReadPastEnd() override;

    const char* field() const { return field_; }
    std::uint64_t offset() const { return offset_; }
    std::uint64_t count() const { return count_; }

  private:
    const char* field_;
    std::uint64_t offset_;
    std::uint64_t count_;
};

/// The one place where offsets found in a font file meet memory.
///
/// A view does not own its bytes. Offsets and counts are 64-bit, so sums of 32-bit numbers from a
/// file cannot wrap. Every read outside the view throws ReadPastEnd; the field name, a string
/// literal, says what was being read.
class ByteView {
  public:
    constexpr ByteView() = default;
    constexpr ByteView(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    constexpr explicit ByteView(std::span<const std::uint8_t> bytes)
        : data_(bytes.data()), size_(bytes.size()) {}

    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }
    constexpr const std::uint8_t* data() const { return data_; }

    constexpr bool holds(std::uint64_t offset, std::uint64_t count) const {
        return offset <= size_ && count <= size_ - offset;
    }

    std::uint8_t u8(std::uint64_t offset, const char* field = "byte") const {
        return *at(offset, 1, field);
    }
    std::uint16_t u16be(std::uint64_t offset, const char* field = "16-bit value") const {
        const std::uint8_t* p = at(offset, 2, field);
        return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
    }
    std::int16_t s16be(std::uint64_t offset, const char* field = "16-bit value") const {
        return static_cast<std::int16_t>(u16be(offset, field));
    }
    std::uint32_t u24be(std::uint64_t offset, const char* field = "24-bit value") const {
        const std::uint8_t* p = at(offset, 3, field);
        return std::uint32_t{p[0]} << 16 | std::uint32_t{p[1]} << 8 | p[2];
    }
    std::uint32_t u32be(std::uint64_t offset, const char* field = "32-bit value") const {
        const std::uint8_t* p = at(offset, 4, field);
        return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 |
               p[3];
    }
    std::int32_t s32be(std::uint64_t offset, const char* field = "32-bit value") const {
        return static_cast<std::int32_t>(u32be(offset, field));
    }
    std::uint16_t u16le(std::uint64_t offset, const char* field = "16-bit value") const {
        const std::uint8_t* p = at(offset, 2, field);
        return static_cast<std::uint16_t>(p[1] << 8 | p[0]);
    }
    std::uint32_t u32le(std::uint64_t offset, const char* field = "32-bit value") const {
        const std::uint8_t* p = at(offset, 4, field);
        return std::uint32_t{p[3]} << 24 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[1]} << 8 |
               p[0];
    }

    /// `count` elements of `elementSize` bytes from `offset` on.
    ByteView slice(std::uint64_t offset, std::uint32_t count, std::uint32_t elementSize = 1,
                   const char* field = "slice") const {
        const std::uint64_t bytes = std::uint64_t{count} * elementSize;
        return ByteView(at(offset, bytes, field), static_cast<std::size_t>(bytes));
    }
    /// Everything from `offset` on.
    ByteView from(std::uint64_t offset, const char* field = "slice") const {
        const std::uint8_t* p = at(offset, 0, field);
        return ByteView(p, size_ - static_cast<std::size_t>(offset));
    }
    /// The part of [offset, offset + count) that lies inside; never throws.
    constexpr ByteView clamped(std::uint64_t offset, std::uint64_t count) const {
        if (offset >= size_) {
            return {};
        }
        const std::uint64_t rest = size_ - offset;
        return ByteView(data_ + offset, static_cast<std::size_t>(count < rest ? count : rest));
    }
    /// The bytes as text, zero bytes included.
    std::string_view text() const {
        return size_ == 0 ? std::string_view()
                          : std::string_view(reinterpret_cast<const char*>(data_), size_);
    }

  private:
    const std::uint8_t* at(std::uint64_t offset, std::uint64_t count, const char* field) const {
        if (!holds(offset, count)) [[unlikely]] {
            fail(field, offset, count);
        }
        return data_ + offset;
    }
    [[noreturn]] OXPARSER_EXPORT static void fail(const char* field, std::uint64_t offset,
                                                  std::uint64_t count);

    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

/// A view of bytes that are converted in place. Converting reverses a value's bytes, so a value
/// that was big-endian in the file is then read with the little-endian reads; converting it once
/// more restores the file's bytes.
class MutableByteView {
  public:
    constexpr MutableByteView() = default;
    constexpr MutableByteView(std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    constexpr ByteView view() const { return ByteView(data_, size_); }

    void reverse(std::uint64_t offset, unsigned width, const char* field = "value") {
        static_cast<void>(view().slice(offset, width, 1, field));
        for (unsigned i = 0; i < width / 2; ++i) {
            const std::uint8_t byte = data_[offset + i];
            data_[offset + i] = data_[offset + width - 1 - i];
            data_[offset + width - 1 - i] = byte;
        }
    }

  private:
    std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

/// A view whose missing bytes read as zero. The structures of classic Mac fonts are read this way:
/// their resources are often a few bytes short.
class ZeroPaddedView {
  public:
    constexpr ZeroPaddedView() = default;
    constexpr explicit ZeroPaddedView(ByteView bytes) : bytes_(bytes) {}

    constexpr ByteView bytes() const { return bytes_; }

    std::uint8_t u8(std::uint64_t offset) const {
        return bytes_.holds(offset, 1) ? bytes_.u8(offset) : std::uint8_t{0};
    }
    std::uint16_t u16be(std::uint64_t offset) const {
        return static_cast<std::uint16_t>(u8(offset) << 8 | u8(offset + 1));
    }
    std::int16_t s16be(std::uint64_t offset) const {
        return static_cast<std::int16_t>(u16be(offset));
    }
    std::uint32_t u32be(std::uint64_t offset) const {
        return std::uint32_t{u16be(offset)} << 16 | u16be(offset + 2);
    }
    std::int32_t s32be(std::uint64_t offset) const {
        return static_cast<std::int32_t>(u32be(offset));
    }
    /// A Pascal string (one length byte, then the text), cut where the bytes end.
    std::string_view pascalString(std::uint64_t offset) const {
        return bytes_.clamped(offset + 1, u8(offset)).text();
    }
    constexpr ZeroPaddedView from(std::uint64_t offset) const {
        return ZeroPaddedView(bytes_.clamped(offset, bytes_.size()));
    }

  private:
    ByteView bytes_;
};
