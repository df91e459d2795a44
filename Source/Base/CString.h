#pragma once

#include <string_view>

/// The text before the first zero byte: what a reader of a zero-terminated buffer would see.
constexpr std::string_view upToZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}
