#pragma once

#include "Console.h"
#include "Options.h"
#include "Output.h"

/// Prints what the given codes mean; all of them without a code. An unknown code is a complaint.
/// Returns the exit status; throws UsageError for an argument that is no number.
int runExplain(const Options& options, Output& output, Console& console);
