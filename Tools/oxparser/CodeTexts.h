#pragma once

#include <optional>
#include <span>
#include <string>

#include "FontDiagnostic.h"

/// A code that parsers raise with a text of their own; the catalogue has no row for it.
struct UncataloguedCode {
    int code;
    const char* meaning;
};

/// All such codes, ascending.
std::span<const UncataloguedCode> uncataloguedCodes();

/// What a code is about, in a word or two ("head", "PFM header"); many catalogue messages only make
/// sense with it. Empty when the code does not tell.
const char* subjectOf(int code);

/// The catalogue's message; none when it does not know the code.
std::optional<std::string> catalogueMessage(int code);

/// "error", "warning" or "note".
const char* severityName(FontDiagnosticType type);

/// A defect as a sentence for people: what it is about, where the catalogue's message does not say
/// so, the message and the parser's detail.
std::string describe(const FontDiagnostic& diagnostic);
