#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Whether `bytes` is well-formed UTF-8 (no overlong forms, surrogates or values past U+10FFFF).
bool isUtf8(std::string_view bytes);

/// `bytes` itself when it is UTF-8; otherwise all of it taken as ISO 8859-1.
std::string toUtf8(std::string_view bytes);

/// The code point at `position` of well-formed UTF-8; moves `position` behind it.
char32_t nextCodePoint(std::string_view utf8, std::size_t& position);
