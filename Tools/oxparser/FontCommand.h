#pragma once

#include "Console.h"
#include "Options.h"
#include "Output.h"
#include "ScanSession.h"

/// What scan and check have in common: scans the given paths, or the font folders when none are
/// given, prints what `makeResult` makes of the records, and returns the exit status.
int runFontCommand(const Options& options, const ResultShape& shape,
                   const ScanSession::ResultMaker& makeResult, Output& output, Console& console);
