#pragma once

#include <functional>
#include <string>

#include "ByteView.h"
#include "Face.h"
#include "ForkLocator.h"

/// Where a resource file was found.
struct ResourceFileOrigin {
    bool inDataFork = false;
    std::string fork;  // the place, as the fork search names it; empty for the data fork
    /// The data fork beside it, asked for only by printer fonts that keep their program there; the
    /// bytes must stay until the faces are made. Null: none.
    std::function<ByteView()> dataFork = nullptr;
};

/// Whether a resource file holds anything that makes a face ('FOND', 'sfnt', 'NFNT', 'FONT' or
/// 'POST'). False for bytes that are no resource file.
bool holdsMacFonts(ByteView resourceFile);

/// The faces of a resource file: of its families in the order of its map, then of fonts that no
/// family names, then of its printer font. A damaged file or family gives a face with the error.
/// No face when there are only families without fonts or 'POST' resources of something else.
/// `forks` is asked for the printer fonts beside the file.
void readMacFonts(ByteView resourceFile, const ResourceFileOrigin& origin, ForkLocator& forks,
                  FaceContext& context, FontFaces& faces);
