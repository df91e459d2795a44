#include "LibrarySetup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <log4cpp/PropertyConfigurator.hh>

#include "LibraryResources.h"
#include "Output.h"
#include "UsageError.h"

namespace {

namespace fs = boost::filesystem;

// The loaders skip what they cannot read, so it is looked at here. The file is not opened: it may
// be a pipe, which gives its content once.
void requireReadable(const std::string& option, const std::string& file) {
    struct stat status;
    int error = 0;
    if (::stat(file.c_str(), &status) != 0 ||
        ::faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
        error = errno;
    } else if (S_ISDIR(status.st_mode)) {
        error = EISDIR;
    }
    if (error != 0) {
        throw UsageError(option + ": cannot read " + file + ": " + std::strerror(error));
    }
}

fs::path list(const std::string& option, const std::string& given, const std::string& own,
              Console& console) {
    if (!given.empty()) {
        requireReadable(option, given);
        return given;
    }
    fs::path found = libraryResource(own, "txt");
    if (found.empty()) {
        console.note("the library's " + own + ".txt is not installed; give one with " + option +
                     " or set OXPARSER_RESOURCES");
    }
    return found;
}

}  // namespace

void configureLogging(const Options& options) {
    if (options.log.empty()) {
        return;
    }
    requireReadable("--log", options.log);
    // OxParser::configure_log4cpp only prints a failure, which a user of the program would miss.
    try {
        log4cpp::PropertyConfigurator::configure(options.log);
    } catch (const std::exception& failure) {
        throw UsageError("--log: log4cpp refuses " + options.log + ": " + failure.what());
    }
    Output::showForeignLines();
}

FoundryLists foundryLists(const Options& options, Console& console) {
    return {list("--foundry-names", options.foundryNames, "foundrylist", console),
            list("--foundry-codes", options.foundryCodes, "foundrycodelist", console)};
}
