#pragma once

#include <span>

#include "Export.h"
#include "FontDiagnostic.h"

/// One finding that the catalogue of messages has no row for.
struct FindingRow {
    int code;                     ///< from 20000 on
    FontDiagnosticType severity;  ///< always the same for a code
    const char* message;          ///< constant text of the library, never freed
};

/// All of them, by rising code. Constant for the life of the library; safe from any thread.
OXPARSER_EXPORT std::span<const FindingRow> findingTable();

/// The row of a code; null when there is none.
OXPARSER_EXPORT const FindingRow* findingRow(int code);
