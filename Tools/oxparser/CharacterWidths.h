#pragma once

/// How many cells of a terminal a character takes: 0, 1 or 2, after the Unicode character database
/// (East_Asian_Width, combining marks), whatever the locale.
int characterWidth(char32_t character);
