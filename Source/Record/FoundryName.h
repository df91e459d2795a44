#pragma once

#include "Export.h"

extern "C" {

/// Case-insensitive substring search over zero-terminated texts (letters of the C locale). Null
/// when there is no hit and for every search in an empty text; an empty pattern is found at the
/// start of any other text.
OXPARSER_EXPORT const char* stristr(const char* text, const char* pattern);

/// Derives a foundry's name from a copyright or notice text and writes it, zero-terminated, to
/// `out`: a cleared buffer of at least 1024 bytes, of which at most 1023 characters and the
/// terminator are written. Returns 0.
///
/// Only a text with "Copyrighted" yields a name, and one without any copyright marker yields
/// "Unknown"; for all others the first byte of `out` keeps what it held, so a cleared buffer reads
/// as an empty name. Hosts rely on that.
OXPARSER_EXPORT int XGetFoundryName(const char* text, char* out);
}
