#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What the font dictionary of a Type 1 or Type 3 program says; texts in the bytes of the program,
/// as far as they are there. Of a key that occurs twice the first counts.
struct PostScriptFontDictionary {
    std::optional<std::string> fontName;
    std::optional<std::string> fullName;
    std::optional<std::string> familyName;
    std::optional<std::string> version;
    std::optional<std::string> notice;
    std::optional<std::string> copyright;
    std::optional<std::string> fontType;
    bool isPresent = false;  ///< any key of a font dictionary was met

    /// Reads the clear text of a program, up to its "eexec" or its end. A Type 3 program may give
    /// the font's name in a comment at its start instead.
    static PostScriptFontDictionary read(std::string_view program);
};
