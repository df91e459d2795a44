#pragma once

#include <string>
#include <string_view>

#include "ByteView.h"

/// Old texts as UTF-8. Whatever the bytes are, the result is valid UTF-8: what cannot be decoded
/// becomes U+FFFD. Safe from any thread.

/// UTF-16, big-endian; of an odd number of bytes the last is not read.
std::string fromUtf16(ByteView bytes);

/// A Windows name record's text in one of the encodings 0 to 10 of that platform (OpenType, name
/// table): 2 to 6 are code pages, zero bytes left out; all others UTF-16.
std::string fromWindowsEncoding(ByteView bytes, unsigned encoding);

/// Text of a Macintosh script (the encoding of a Macintosh name record or the script of a resource
/// id) in a language of that platform, which decides between the Roman variants.
std::string fromMacScript(ByteView bytes, unsigned script, unsigned language);

/// Eight-bit text without a stated encoding: UTF-8 when it is valid, else ISO 8859-1.
std::string fromUnstated(std::string_view bytes);

/// The Unicode characters that a byte means in an eight-bit Macintosh script; 0 for a byte that
/// means none by itself and for scripts of more than one byte a character.
char32_t macScriptCharacter(unsigned script, std::uint8_t byte);
