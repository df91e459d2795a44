#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A set of Unicode characters (0 to 0x10FFFF), kept as pages of 256 bits; memory goes with the
/// pages that hold something, 170 KiB at most.
///
/// Adding is cheap in rising order, as a walk over a 'cmap' does it. Wide ranges cost a step per
/// page, 4,352 steps at most: who adds ranges from a file spends that work.
class CharacterSet {
  public:
    static constexpr char32_t kLast = 0x10FFFF;
    static constexpr unsigned kPageBits = 256;
    using Page = std::array<std::uint64_t, kPageBits / 64>;

    /// The pages that hold something, by rising number.
    struct NumberedPage {
        std::uint32_t number;
        Page bits;
        bool operator==(const NumberedPage&) const = default;
    };

    /// Characters past kLast are left out.
    void add(char32_t character) {
        if (character <= kLast) {
            page(character / kPageBits)[character / 64 % 4] |= std::uint64_t{1} << character % 64;
        }
    }
    /// Both ends belong to the range; nothing when `first` is above `last`.
    void addRange(char32_t first, char32_t last);
    bool contains(char32_t character) const;
    bool containsAll(const CharacterSet& other) const;
    std::size_t count() const;
    bool empty() const { return pages_.empty(); }
    /// As `20-7e,a0`: hexadecimal ranges by rising first character.
    std::string ranges() const;

    const std::vector<NumberedPage>& pages() const { return pages_; }

    bool operator==(const CharacterSet& other) const { return pages_ == other.pages_; }

  private:
    Page& page(std::uint32_t number) {
        return last_ < pages_.size() && pages_[last_].number == number ? pages_[last_].bits
                                                                       : otherPage(number);
    }
    Page& otherPage(std::uint32_t number);

    std::vector<NumberedPage> pages_;
    std::size_t last_ = 0;  // the page that was added to last
};
