#pragma once

#include <array>

/// The classes of characters that part the tokens of PostScript (PostScript Language Reference,
/// 3.2).
enum class PostScriptClass : unsigned char { eRegular, eBlank, eDelimiter };

inline constexpr std::array<PostScriptClass, 256> kPostScriptClasses = [] {
    std::array<PostScriptClass, 256> classes{};
    for (const char c : {'\0', '\t', '\n', '\f', '\r', ' '}) {
        classes[static_cast<unsigned char>(c)] = PostScriptClass::eBlank;
    }
    for (const char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'}) {
        classes[static_cast<unsigned char>(c)] = PostScriptClass::eDelimiter;
    }
    return classes;
}();

inline PostScriptClass postScriptClassOf(char c) {
    return kPostScriptClasses[static_cast<unsigned char>(c)];
}
