#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "EexecDecoder.h"

/// The glyphs in a program's CharStrings dictionary, by name.
struct CharStringNames {
    /// One for each glyph met, as it stands; views of the text that was read.
    std::vector<std::string_view> names;
    /// As the dictionary claims to hold at most.
    std::optional<std::size_t> claimed;
    /// The offset of a charstring that reaches past the end of the text.
    std::optional<std::size_t> cut;
    /// Whether a CharStrings dictionary was there at all, and its end.
    bool found = false;
    bool ended = false;
};

/// Those of a text that is not encrypted (any more): of a Type 1 program, whose charstrings are
/// binary, or of a Type 42 one, whose are numbers. Of several dictionaries the fullest one.
CharStringNames charStringNames(std::string_view text);
/// Those of an encrypted part, of which no more is decoded than is needed.
CharStringNames charStringNames(DecodedEexec& program);
