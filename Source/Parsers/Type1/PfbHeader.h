#pragma once

#include <cstddef>

#include "Export.h"

/// The names found in the clear text at the head of a Type 1 font program: zero-terminated texts,
/// cut to fit, in the bytes of the file.
struct PfbHeader {
    static constexpr std::size_t kFieldSize = 256;

    char shortFontName[kFieldSize];  ///< /FontName
    char notice[kFieldSize];         ///< /Notice
    char fullName[kFieldSize];       ///< /FullName
    char familyName[kFieldSize];     ///< /FamilyName
    char version[kFieldSize];        ///< /version
    char foundry[kFieldSize];        ///< what XGetFoundryName makes of the notice
    char fontType[kFieldSize];       ///< /FontType
    char weight[kFieldSize];         ///< /Weight, with its parentheses
};
static_assert(sizeof(PfbHeader) == 2048);

/// Bytes that ParsePFBHeader reads of its buffer in any case.
inline constexpr std::size_t kPfbHeaderBufferSize = 2049;

extern "C" {

/// Reads the clear text of a Type 1 font program (Adobe Type 1 Font Format, chapter 2) into
/// `record`.
///
/// `buffer` holds at least kPfbHeaderBufferSize readable bytes and ends in a zero byte. "%!PS" is
/// looked for in its first 2047 bytes, whatever they are; from there on the text goes to the first
/// zero byte. It is split at carriage returns, which are overwritten with zero bytes as far as the
/// text was read. A program whose lines end in line feeds is one line and yields empty texts.
///
/// Without "%!PS" the record stays as it was, otherwise every field is set. Returns 0. Calls are
/// serialised across the process.
OXPARSER_EXPORT int ParsePFBHeader(char* buffer, PfbHeader* record);
}
