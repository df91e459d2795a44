#pragma once

#include <string_view>

/// The one Unicode character that a glyph's name means by the rules of the Adobe Glyph List
/// specification (github.com/adobe-type-tools/agl-specification): the suffix from the first full
/// stop on dropped, then the list, uniXXXX or uXXXX[XX]. 0 when the name means none, or several.
char32_t glyphNameCharacter(std::string_view name);
