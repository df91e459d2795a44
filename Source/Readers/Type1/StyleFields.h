#pragma once

#include <string_view>

#include "Face.h"

/// Properties that font programs and AFM files state in the same words.

/// The container, unless the file that holds the face is one that stated it already.
void setContainer(Face& face, const char* container);
/// Eight-bit text without a stated encoding.
void setUnstated(Face& face, std::string_view property, std::string_view bytes);
/// The weight that a word names, if it names one.
void setWeightWord(Face& face, std::string_view word);
/// The angle itself, and that a font is italic when there is one.
void setItalicAngle(Face& face, double angle);
