#pragma once

#include "ByteView.h"
#include "Face.h"

/// The faces of a WOFF file (W3C Recommendation WOFF 1.0, December 2012): unpacked into memory,
/// bounded by what the header says and by a limit, and read by readSfnt.
void readWoff(ByteView file, FaceContext& context, FontFaces& faces);

/// The same of WOFF2 (W3C Recommendation WOFF 2.0, March 2022), collections included.
void readWoff2(ByteView file, FaceContext& context, FontFaces& faces);
