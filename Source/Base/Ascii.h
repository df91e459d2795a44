#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Character classes and case of the C locale, whatever locale the host has set.
namespace ascii {

constexpr bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool isAlpha(char c) {
    return isUpper(c) || isLower(c);
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr char toUpper(char c) {
    return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char toLower(char c) {
    return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string toUpper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) { return toUpper(c); });
    return result;
}
inline std::string toLower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) { return toLower(c); });
    return result;
}

}  // namespace ascii
