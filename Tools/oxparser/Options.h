#pragma once

#include <string>
#include <vector>

#include "OxParser.h"

enum class Format { eTable, eJsonLines, eCsv };
enum class ProgressMode { eAuto, eAlways, eNever };
enum class FailOn { eError, eWarning, eNever };

/// What the command line asked for. Empty texts stand for options that were not given.
struct Options {
    Format format = Format::eTable;
    Reading reading = Reading::eModern;
    ReadingDetails details;
    bool unfolded = false;
    ProgressMode progress = ProgressMode::eAuto;
    FailOn failOn = FailOn::eNever;
    std::string foundryNames;
    std::string foundryCodes;
    std::string log;
    std::string filesFrom;
    bool nullSeparated = false;
    std::string destination;
    bool createFolders = true;
    bool dryRun = false;
    bool keepBoth = false;
    std::vector<std::string> arguments;  ///< PATHs or CODEs, exactly as given
};
