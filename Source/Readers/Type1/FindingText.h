#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "FontDiagnostic.h"

/// The wording that findings of Type 1 programs and metrics share.

/// As 0x80.
inline std::string hexByte(unsigned byte) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02x", byte & 0xFF);
    return text;
}

/// A field at an offset in the file.
inline FontDiagnosticPlace inFile(const char* field, std::uint64_t offset) {
    FontDiagnosticPlace place;
    place.field = field;
    place.offset = offset;
    return place;
}
