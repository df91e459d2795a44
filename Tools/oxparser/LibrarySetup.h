#pragma once

#include <boost/filesystem/path.hpp>

#include "Console.h"
#include "Options.h"

/// Configures log4cpp from --log, if given. Throws UsageError when the file is missing or refused.
void configureLogging(const Options& options);

struct FoundryLists {
    boost::filesystem::path names;
    boost::filesystem::path codes;
};

/// The two lists to load: those given, else the library's own. Throws UsageError when a given one
/// cannot be read; that one of the library's own is missing is noted on the console.
FoundryLists foundryLists(const Options& options, Console& console);
