#pragma once

#include <string>
#include <vector>

enum class Format { Table, JsonLines, Csv };
enum class ProgressMode { Auto, Always, Never };
enum class FailOn { Error, Warning, Never };

/// What the command line asked for. Empty texts stand for options that were not given.
struct Options {
    Format format = Format::Table;
    ProgressMode progress = ProgressMode::Auto;
    FailOn failOn = FailOn::Never;
    std::string foundryNames;
    std::string foundryCodes;
    std::string log;
    std::string filesFrom;
    bool nullSeparated = false;
    std::string destination;
    bool createFolders = true;
    bool dryRun = false;
    std::vector<std::string> arguments;  ///< PATHs or CODEs, exactly as given
};
