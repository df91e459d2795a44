#pragma once

#include "Console.h"
#include "Output.h"

/// Reads the program's arguments, runs the command that they name and answers the exit status.
/// Wrong usage is a complaint that names the option or argument.
int runCommandLine(int count, const char* const* arguments, Output& output, Console& console);
