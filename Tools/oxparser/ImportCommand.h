#pragma once

#include "Console.h"
#include "Options.h"
#include "Output.h"

/// oxparser import: copies recognised fonts into a folder and prints what became of each.
int runImport(const Options& options, Output& output, Console& console);
