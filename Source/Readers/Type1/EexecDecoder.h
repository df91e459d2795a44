#pragma once

#include <string>

#include "ByteView.h"

/// The clear bytes of a part that `eexec` encrypted (Adobe Type 1 Font Format 1.1, chapter 7),
/// binary or in hexadecimal digits, behind the four random bytes that precede them there.
std::string decodedEexec(ByteView encrypted);
