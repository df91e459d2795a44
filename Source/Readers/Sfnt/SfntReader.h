#pragma once

#include "ByteView.h"
#include "Face.h"

/// The faces of an sfnt font or of a collection ('ttcf'), which may be a file, a Mac 'sfnt'
/// resource or what a WOFF file unpacks to. The image is not changed. Damage becomes findings on
/// the faces; throws nothing but std::bad_alloc. At least one face, whatever the bytes are.
///
/// Formats: OpenType specification 1.9 (learn.microsoft.com/typography/opentype/spec) and the
/// TrueType Reference Manual (developer.apple.com/fonts/TrueType-Reference-Manual).
void readSfnt(ByteView image, FaceContext& context, FontFaces& faces);
