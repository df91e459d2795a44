#pragma once

#include "ByteView.h"
#include "Face.h"

/// The face of a Type 1 program (Adobe Type 1 Font Format 1.1): a PFB with its segments, a PFA with
/// any line ends, or the text of a Mac printer font, whose encrypted part is binary.
void readType1(ByteView program, FaceContext& context, FontFaces& faces);

/// The face of a Type 42 font (Adobe Technical Note 5012), of a CID-keyed font program (5014) and
/// of a bare CFF font (5176).
void readType42(ByteView program, FaceContext& context, FontFaces& faces);
void readCidProgram(ByteView program, FaceContext& context, FontFaces& faces);
void readBareCff(ByteView file, FaceContext& context, FontFaces& faces);
