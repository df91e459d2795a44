#include "MetricsReader.h"

void readPfm(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}

void readAfm(ByteView /*file*/, FaceContext& context, FontFaces& faces) {
    Face(faces, context);
}
