#pragma once

#include <cstddef>
#include <cstdint>

#include "Export.h"

/// A scanner that splits one line of text into tokens at "," and "." and classifies them.
///
/// Its state is a set of exported variables, one for the whole process: at most one thread may use
/// the scanner at a time.
extern "C" {

/// Bytes of `tokenval`, terminator included. A longer token is cut to fit.
inline constexpr std::size_t kTokenValueSize = 4096;

/// Values of `tokentype`. A token is never a lone "," or ".", since both end a token before they
/// are copied.
enum TokenType : std::int32_t {
    eTokenEndOfLine = 0,
    eTokenComma = 1,
    eTokenPeriod = 2,
    eTokenMinus = 3,
    eTokenNumber = 4,  ///< exactly two or exactly four decimal digits
    eTokenWord = 5,
};

/// The zero-terminated line being scanned; the caller owns it and keeps it alive and as it is until
/// the next set_line.
OXPARSER_EXPORT extern const char* cpLine;
/// Index of the next unread byte of `cpLine`; -1 before the first `set_line`.
OXPARSER_EXPORT extern std::int32_t iIndex;
/// Length of the token built so far.
OXPARSER_EXPORT extern std::int32_t jIndex;
/// Length, class and zero-terminated text of the last token.
OXPARSER_EXPORT extern std::int32_t tokenlen;
OXPARSER_EXPORT extern std::int32_t tokentype;
OXPARSER_EXPORT extern char tokenval[kTokenValueSize];

/// Starts scanning `line` (null reads as an empty line). Returns 0.
OXPARSER_EXPORT int set_line(const char* line);

/// Reads the next token. At a "," or "." the token is empty (a word) and the scanner does not
/// move: the caller steps over the separator by advancing `iIndex`. Returns 0.
OXPARSER_EXPORT int get_next_token();
}
