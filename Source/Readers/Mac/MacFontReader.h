#pragma once

#include <string>

#include "ByteView.h"
#include "Face.h"

/// Where a resource file was found.
struct ResourceFileOrigin {
    bool inDataFork = false;
    std::string fork;  // the place, as the fork search names it; empty for the data fork
};

/// Whether a resource file holds anything that makes a face ('FOND', 'sfnt', 'NFNT', 'FONT' or
/// 'POST'). False for bytes that are no resource file.
bool holdsMacFonts(ByteView resourceFile);

/// The faces of a resource file: of its families in the order of its map, then of fonts that no
/// family names, then of its printer font. A damaged file or family gives a face with the error.
void readMacFonts(ByteView resourceFile, const ResourceFileOrigin& origin, FaceContext& context,
                  FontFaces& faces);
