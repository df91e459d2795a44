#pragma once

#include <string>
#include <string_view>

#include "Face.h"
#include "UnitTest.h"

// What the tests of the modern readers share.

using FaceReader = void (*)(ByteView bytes, FaceContext& context, FontFaces& faces);

/// The one face of a file's bytes, coverage included.
OxFont readOne(FaceReader reader, std::string_view bytes, const std::string& container = "",
               const fs::path& file = "folder/Acme");

/// A property as text: numbers in short, lists as [a,b], objects as {a=b c=d}; empty without one.
std::string shown(const OxFont& font, std::string_view property);
/// All properties in their order, as "name=value".
std::string shown(const OxFont& font);
