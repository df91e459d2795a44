#pragma once

#include <optional>
#include <span>
#include <string>

#include "FontDiagnostic.h"
#include "Result.h"

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

/// The fixed text of a code: the catalogue's message, or that of the table of findings; none when
/// neither knows the code.
std::optional<std::string> codeMessage(int code);

/// "error", "warning" or "note".
const char* severityName(FontDiagnosticType type);

/// The colour of a severity.
Mark markOf(FontDiagnosticType type);

/// A defect as a sentence for people: what it is about, where the catalogue's message does not say
/// so, the message and the parser's detail.
std::string describe(const FontDiagnostic& diagnostic);
