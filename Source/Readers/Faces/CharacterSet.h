#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A set of Unicode characters (0 to 0x10FFFF), kept as pages of 256 bits; memory goes with the
/// pages that hold something.
class CharacterSet {
  public:
    static constexpr char32_t kLast = 0x10FFFF;
    using Page = std::array<std::uint64_t, 4>;

    /// Characters past kLast are left out.
    void add(char32_t character);
    void addRange(char32_t first, char32_t last);
    bool contains(char32_t character) const;
    bool containsAll(const CharacterSet& other) const;
    std::size_t count() const;
    bool empty() const { return pages_.empty(); }
    /// As `20-7e,a0`: hexadecimal ranges by rising first character.
    std::string ranges() const;

    /// The pages that hold something, by rising number.
    struct NumberedPage {
        std::uint32_t number;
        Page bits;
    };
    const std::vector<NumberedPage>& pages() const { return pages_; }

    bool operator==(const CharacterSet& other) const;

  private:
    Page& page(std::uint32_t number);

    std::vector<NumberedPage> pages_;
    std::size_t last_ = 0;  // the page that was added to last
};
