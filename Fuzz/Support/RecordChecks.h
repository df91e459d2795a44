#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "ByteView.h"
#include "OxFont.h"

using FontList = boost::ptr_vector<OxFont>;
using FontListPtr = std::unique_ptr<FontList>;

/// Diagnostics of one severity with codes from `first` to `last`.
struct CodeRange {
    FontDiagnosticType type;
    int first;
    int last;
};

/// What the records of a format may hold.
struct RecordRules {
    std::span<const CodeRange> codes;
    /// How the texts of errors with the code 0 may begin.
    std::span<const std::string_view> texts;
    /// Values that getFontType may answer.
    std::span<const int> fontTypes;
};

/// Two parses of the same bytes: equal attributes, diagnostics, resources and printer font paths,
/// record by record.
void checkEqual(const OxFont& a, const OxFont& b);
void checkEqual(const FontList& a, const FontList& b);

/// Known codes, known beginnings of the texts of code 0, keys and types of the library.
void checkRecord(const OxFont& font, const RecordRules& rules);

/// Parses twice, checks that both answers are equal and each record by the rules, and answers the
/// records.
FontListPtr parseTwice(const std::function<FontList*()>& parse, const RecordRules& rules);
/// The same for a file, each time by a parser of its own made of these arguments.
template <typename Parser, typename... Arguments>
FontListPtr parseTwice(const boost::filesystem::path& file, const RecordRules& rules,
                       Arguments... arguments) {
    return parseTwice([&] { return Parser(arguments...).parseFontFile(file); }, rules);
}
/// A parser that has read other files before finds the same.
template <typename Parser, typename... Arguments>
void checkUsedParser(const FontList& fonts, const boost::filesystem::path& file,
                     Arguments... arguments) {
    static Parser used(arguments...);
    checkEqual(fonts, *FontListPtr(used.parseFontFile(file)));
}

/// What every record of a plain file must carry: the two path attributes, and if there is a
/// fingerprint then that of the file's bytes.
void checkFileAttributes(const OxFont& font, const boost::filesystem::path& file, ByteView bytes);
/// That there is one, and that it carries this.
void checkOneRecord(const FontList& fonts, const boost::filesystem::path& file, ByteView bytes);
