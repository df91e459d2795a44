#pragma once

#include "Console.h"
#include "FontReport.h"
#include "Options.h"
#include "Output.h"

/// What scan and check have in common: scans the given paths, or the font folders when none are
/// given, prints what `report` makes of the records, and returns the exit status.
int runFontCommand(const Options& options, FontReport& report, Output& output, Console& console);
