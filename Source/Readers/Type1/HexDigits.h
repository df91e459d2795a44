#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// The value of a hexadecimal digit; -1 for any other character.
constexpr int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Bytes written as hexadecimal digits, as PostScript has them: blanks anywhere, a missing last
/// digit is 0. Ends at the first other character.
class HexDigits {
  public:
    explicit HexDigits(std::string_view text) : text_(text) {}

    std::optional<std::uint8_t> next() {
        const int high = digit();
        if (high < 0) {
            return std::nullopt;
        }
        const int low = digit();
        return static_cast<std::uint8_t>(high << 4 | (low < 0 ? 0 : low));
    }

  private:
    int digit() {
        while (position_ < text_.size()) {
            const char c = text_[position_];
            if (c != ' ' && (c < '\t' || c > '\r')) {
                const int value = hexDigit(c);
                position_ += value >= 0 ? 1 : 0;
                return value;
            }
            ++position_;
        }
        return -1;
    }

    std::string_view text_;
    std::size_t position_ = 0;
};
