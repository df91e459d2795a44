#pragma once

#include <functional>
#include <memory>

#include "Console.h"
#include "FontResult.h"
#include "Options.h"
#include "Output.h"

/// Makes the result to print for a record; null when the command leaves the record out.
using FontResultMaker =
    std::function<std::unique_ptr<FontResult>(const OxFont&, int filesParsed, int totalFiles)>;

/// What scan and check have in common: scans the given paths, or the font folders when none are
/// given, prints what `makeResult` makes of the records, and returns the exit status.
int runFontCommand(const Options& options, const ResultShape& shape,
                   const FontResultMaker& makeResult, Output& output, Console& console);
