#include "MacFontReader.h"

#include "FontResources.h"
#include "MacFontFaces.h"

bool holdsMacFonts(ByteView resourceFile) {
    FontResources resources;
    return resources.open(resourceFile) == noErr && resources.holdsAny();
}

void readMacFonts(ByteView resourceFile, const ResourceFileOrigin& origin, ForkLocator& forks,
                  FaceContext& context, FontFaces& faces) {
    MacFontFaces(resourceFile, origin, forks, context, faces).read();
}
