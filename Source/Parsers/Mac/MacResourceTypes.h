#pragma once

#include <cstdint>

#include "FourCharCode.h"

/// Resource types of classic fonts. All are below 2^31, so a record holds them as an int.
constexpr std::uint32_t kFondType = fourCharCode("FOND");
constexpr std::uint32_t kNfntType = fourCharCode("NFNT");
constexpr std::uint32_t kFontType = fourCharCode("FONT");
constexpr std::uint32_t kSfntType = fourCharCode("sfnt");
constexpr std::uint32_t kPostType = fourCharCode("POST");

/// Smaller 'sfnt' resources are no fonts.
constexpr std::int32_t kSmallestOutline = 5000;
