#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "ByteView.h"

/// The keys of `eexec` encryption from one byte to the next.
class EexecKeys {
  public:
    /// Decodes `count` bytes, which may lie in place.
    void decode(const std::uint8_t* cipher, std::uint8_t* clear, std::size_t count);
    /// Takes the keys over bytes that nobody reads, in a fraction of the time.
    void skip(const std::uint8_t* cipher, std::size_t count);

  private:
    static constexpr std::uint16_t kFirst = 55665;

    std::uint16_t key_ = kFirst;
};

/// The clear bytes of a part that `eexec` encrypted (Adobe Type 1 Font Format 1.1, chapter 7),
/// binary or in hexadecimal digits, behind the four random bytes that precede them there. Decoded
/// from the first to the last as far as is asked for; `encrypted` must outlive it.
class DecodedEexec {
  public:
    explicit DecodedEexec(ByteView encrypted);

    std::size_t size() const { return size_; }
    /// As long as all bytes; those from decoded() on and those skipped are not set.
    std::string_view text() const { return {reinterpret_cast<const char*>(bytes_.get()), size_}; }
    std::size_t decoded() const { return decoded_; }
    /// Decodes what comes before `end`, or before the end of all.
    void decodeTo(std::size_t end);
    /// Leaves out what is not decoded before `end`, which is not behind the end of all.
    void skipTo(std::size_t end);
    /// The place of a word at `from` or behind it; npos without one. Decodes up to its end.
    std::size_t find(std::string_view word, std::size_t from);

  private:
    std::unique_ptr<std::uint8_t[]> bytes_;  // no string, which would be filled with zeros first
    const std::uint8_t* cipher_ = nullptr;
    std::size_t size_ = 0;
    std::size_t decoded_ = 0;
    EexecKeys keys_;
};
