#include "SfntReader.h"

void readSfnt(ByteView /*file*/, FaceContext& context, FontFaces& faces, SfntOrigin /*origin*/) {
    Face(faces, context);
}
