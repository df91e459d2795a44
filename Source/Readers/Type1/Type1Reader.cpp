#include "Type1Reader.h"

void readType1(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}

void readType42(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}

void readCidProgram(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}

void readBareCff(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}
