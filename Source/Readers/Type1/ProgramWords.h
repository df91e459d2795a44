#pragma once

#include <string_view>

#include "Ascii.h"

/// How Type 1 programs begin (Type 1 Font Format 2.1; Document Structuring Conventions 3.0).
inline constexpr std::string_view kType1Words[] = {"%!PS-AdobeFont", "%!FontType",
                                                   "%!PS-Adobe-3.0 Resource-Font"};

/// A text behind the UTF-8 mark and the white space that may stand before its first word.
constexpr std::string_view behindBlanks(std::string_view text) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (text.starts_with(kMark)) {
        text.remove_prefix(kMark.size());
    }
    while (!text.empty() && ascii::isSpace(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}
