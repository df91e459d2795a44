#pragma once

#include "Console.h"
#include "Options.h"
#include "Output.h"

/// Prints the defects only, one a line; in JSON lines the records that have any. Returns the exit
/// status; throws UsageError.
int runCheck(const Options& options, Output& output, Console& console);
