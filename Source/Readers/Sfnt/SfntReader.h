#pragma once

#include "ByteView.h"
#include "Face.h"

/// What of an image is as its maker left it.
enum class SfntOrigin {
    eOriginal,  ///< everything: a file or a resource
    eUnpacked,  ///< tables and their stored sums; offsets were made in unpacking (WOFF)
    eRebuilt,   ///< tables only, some of them written anew (WOFF2)
};

/// The faces of an sfnt font or of a collection ('ttcf'), which may be a file, a Mac 'sfnt'
/// resource or what a WOFF file unpacks to. The image is not changed. Damage becomes findings on
/// the faces; throws nothing but std::bad_alloc. At least one face, whatever the bytes are.
///
/// Without a container in `context`, "sfnt" or "collection" is set. Of an image that is not
/// original, what its maker did not leave is not looked at: offsets and the whole file's sum, and
/// of a rebuilt one the tables' sums.
///
/// Formats: OpenType specification 1.9 (learn.microsoft.com/typography/opentype/spec) and the
/// TrueType Reference Manual (developer.apple.com/fonts/TrueType-Reference-Manual).
void readSfnt(ByteView image, FaceContext& context, FontFaces& faces,
              SfntOrigin origin = SfntOrigin::eOriginal);
