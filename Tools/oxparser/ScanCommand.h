#pragma once

#include "Console.h"
#include "Options.h"
#include "Output.h"

/// Prints every font record. Returns the exit status; throws UsageError.
int runScan(const Options& options, Output& output, Console& console);
