#pragma once

#include <string>
#include <string_view>

/// Whether the file descriptor is a terminal.
bool isTerminal(int descriptor);

/// Columns of the terminal behind `descriptor`: what COLUMNS says, else what the terminal says,
/// else 80; 0 when it is no terminal.
int terminalColumns(int descriptor);

/// Whether `descriptor` is a terminal that understands control sequences: not a "dumb" one.
bool takesControlSequences(int descriptor);

/// Whether text for `descriptor` may be coloured: never when NO_COLOR is set.
bool mayColour(int descriptor);

/// Bytes of unknown origin (names out of fonts, file names) as UTF-8 that is safe on a terminal and
/// stays on its line: blanks for line ends and tabs, U+FFFD for every other control character and
/// for the characters that turn the writing direction.
std::string safeText(std::string_view bytes);

/// Cells that safe text takes on a terminal.
int displayWidth(std::string_view safeText);

/// A path as safe text for a message. One that is too long to be read loses its middle, but neither
/// its start nor its last element.
std::string pathText(std::string_view path);

/// What of a text that is too wide goes; Never: the terminal wraps it.
enum class Cut { eEnd, eStart, eMiddle, eNever };

/// Safe text cut to at most `width` cells, with an ellipsis where something is missing.
std::string cutToWidth(const std::string& safeText, int width, Cut cut);
