#include "StyleFields.h"

#include "Ascii.h"
#include "TextDecoding.h"
#include "WeightWords.h"

void setContainer(Face& face, const char* container) {
    if (face.context().container.empty()) {
        face.set("container", container);
    }
}

void setUnstated(Face& face, std::string_view property, std::string_view bytes) {
    face.setText(property, fromUnstated(bytes));
}

void setWeightWord(Face& face, std::string_view word) {
    while (!word.empty() && (ascii::isSpace(word.back()) || word.back() == '\0')) {
        word.remove_suffix(1);
    }
    if (const std::optional<int> weight = weightOf(word)) {
        face.set("weight", *weight);
    }
}

void setItalicAngle(Face& face, double angle) {
    face.setDecimal("italicAngle", angle);
    face.set("italic", angle != 0);
}
