#pragma once

#include "ByteView.h"
#include "Face.h"

/// The metrics of a PFM file (Windows Printer Font Metrics, Microsoft Windows 3.1 DDK; Adobe
/// Technical Note 5178), little-endian.
void readPfm(ByteView file, FaceContext& context, FontFaces& faces);

/// Those of an AFM file (Adobe Font Metrics File Format 4.1, Technical Note 5004): text.
void readAfm(ByteView file, FaceContext& context, FontFaces& faces);
