#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

/// Severity of a diagnostic.
enum FontDiagnosticType : int {
    eWarning = 0,
    eError = 1,
    eNote = 2,
};

/// Where in a font something was found, as far as that is known.
struct FontDiagnosticPlace {
    std::string table = {};  ///< tag of an sfnt table, name of a structure
    std::string field = {};
    std::optional<std::uint32_t> glyph = {};
    std::optional<std::pair<std::uint32_t, std::int16_t>> resource = {};  ///< Mac: type and id
    std::optional<std::uint64_t> offset = {};  ///< in bytes, from the start of the font's data

    bool empty() const { return table.empty() && field.empty() && !glyph && !resource && !offset; }
    bool operator==(const FontDiagnosticPlace&) const = default;
};

/// One defect found in a font: severity, number, and the parser's own detail text (empty when it
/// gave none). The fixed English message of a number is in the catalogue: GetErrorMessage; from
/// 20000 on in the table of findings: findingRow.
struct FontDiagnostic {
    FontDiagnosticType type;
    int code;
    std::string text;
    FontDiagnosticPlace where = {};  ///< of a finding of the modern reading; else empty
};
