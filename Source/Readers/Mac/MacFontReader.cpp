#include "MacFontReader.h"

bool holdsMacFonts(ByteView /*resourceFile*/) {
    return false;
}

void readMacFonts(ByteView /*resourceFile*/, const ResourceFileOrigin& /*origin*/,
                  FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}
