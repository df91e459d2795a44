#pragma once

#include <boost/filesystem/path.hpp>
#include <queue>

#include "Console.h"
#include "Options.h"

/// The paths to scan: the arguments, then those of --files-from. A path that does not exist is a
/// complaint and is left out; of several spellings of one path the first is taken. Throws
/// UsageError when the list of files cannot be read.
std::queue<boost::filesystem::path> givenSources(const Options& options, Console& console);

/// The system's and the user's font folders, as far as they exist; none lies inside another.
std::queue<boost::filesystem::path> fontFolders();
