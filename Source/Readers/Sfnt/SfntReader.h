#pragma once

#include "ByteView.h"
#include "Face.h"

/// The faces of an sfnt font or of a collection ('ttcf'), which may be a file or a Mac 'sfnt'
/// resource. The image is not changed. Damage becomes findings on the faces; throws nothing but
/// std::bad_alloc. At least one face, whatever the bytes are.
///
/// Without a container in `context`, "sfnt" or "collection" is set.
///
/// Formats: OpenType specification 1.9 (learn.microsoft.com/typography/opentype/spec) and the
/// TrueType Reference Manual (developer.apple.com/fonts/TrueType-Reference-Manual).
void readSfnt(ByteView image, FaceContext& context, FontFaces& faces);

/// What of an image is as its maker left it.
enum class SfntOrigin {
    eOriginal,  ///< everything
    eUnpacked,  ///< tables and their stored sums; offsets were made in unpacking (WOFF)
    eRebuilt,   ///< tables only, some of them written anew (WOFF2)
};

/// The same of what another format unpacks to. What its maker did not leave is not looked at:
/// offsets and the whole file's sum, and of a rebuilt image the tables' sums.
void readUnpackedSfnt(ByteView image, SfntOrigin origin, FaceContext& context, FontFaces& faces);
