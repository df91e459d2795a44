#pragma once

#include "Export.h"

extern "C" {

/// One row of the catalogue of fixed English messages.
struct ErrorTableEntry {
    int code;
    int kind;             ///< 0 in every row
    const char* message;  ///< constant text of the library, never freed; null ends the table
};

/// The catalogue: 166 rows in their fixed order, then the terminator {-9999, 0, null}. Constant for
/// the life of the library; safe to read from any thread, before and after static initialisation.
extern OXPARSER_EXPORT ErrorTableEntry errorTable[];

/// Copies the first row of `code` into `entry` and returns 1; returns 0 and leaves `entry` alone
/// when the catalogue does not know the code.
OXPARSER_EXPORT int GetErrorMessage(int code, ErrorTableEntry* entry);
}
