#include "SfntReader.h"

void readSfnt(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}
