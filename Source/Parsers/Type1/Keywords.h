#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Export.h"

/// One row of a PostScript keyword table: the keyword in lower case, padded with zero bytes, and
/// what it means.
struct SymbolMapping {
    char keyword[32];
    std::int32_t id;
};
static_assert(sizeof(SymbolMapping) == 36);

extern "C" {

/// The font dictionary's top level.
OXPARSER_EXPORT extern const SymbolMapping kSymbols[8];
/// Inside the FontInfo dictionary. Not sorted, see lookupSymbol.
OXPARSER_EXPORT extern const SymbolMapping kFontInfoSymbols[7];
/// Keys of the comment lines that begin a Type 3 program.
OXPARSER_EXPORT extern const SymbolMapping kPS3Symbols[3];
}

/// The id of `token` (in lower case) in a table of `count` rows of `rowSize` bytes each, or 0 when
/// it is no keyword. An empty token throws std::runtime_error.
///
/// The search is a binary one. The FontInfo table is not sorted, and so its "/fullname" is never
/// found; callers that want that key look for it themselves.
OXPARSER_EXPORT std::int32_t lookupSymbol(const std::string& token, const SymbolMapping* table,
                                          std::size_t count, std::size_t rowSize);
