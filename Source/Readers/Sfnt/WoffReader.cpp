#include "WoffReader.h"

void readWoff(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}

void readWoff2(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}
