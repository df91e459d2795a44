#pragma once

#include <string>

/// Severity of a diagnostic.
enum FontDiagnosticType : int {
    eWarning = 0,
    eError = 1,
    eNote = 2,
};

/// One defect found in a font: severity, number, and the parser's own detail text (empty when it
/// gave none). The fixed English message of a number is in the catalogue: GetErrorMessage.
struct FontDiagnostic {
    FontDiagnosticType type;
    int code;
    std::string text;
};
