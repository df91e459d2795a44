#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ByteView.h"
#include "FontResources.h"
#include "WorkLimit.h"

/// Something wrong with the resources of a printer font: the code of a finding.
struct PostDefect {
    int code;
    std::int16_t id;  // of the resource
    std::string detail;
};

/// The program of a Mac printer font: resources 'POST' from number 501 on, joined by their numbers
/// (Adobe Technical Note 5040). Each begins with a kind and a zero:
///
///     0 comment | 1 text | 2 binary | 3 end of file | 4 the data fork follows | 5 end of the font
///
/// Empty ones occur in sound fonts and hold nothing.
struct PostProgram {
    std::vector<std::uint8_t> text;  // the encrypted part is binary
    std::string fingerprint;         // MD5 of the resources, whole
    std::vector<PostDefect> defects;

    /// Whether there is a resource that belongs to a program.
    bool exists = false;
    /// Whether the text begins as Type 1 programs do.
    bool isType1() const;
    /// The number behind the first /FontType in the clear part; 1 without one.
    int fontType() const;

    /// `dataFork` gives the file's data fork; may be null.
    static PostProgram join(FontResources& resources, const std::function<ByteView()>& dataFork,
                            WorkLimit& work);
};

/// Whether text begins with one of the words of Type 1 programs, white space and a byte order mark
/// of UTF-8 before it allowed.
bool beginsLikePfa(std::string_view text);
