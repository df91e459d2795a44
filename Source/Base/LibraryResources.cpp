#include "LibraryResources.h"

#include <dlfcn.h>

#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <vector>

namespace {

namespace fs = boost::filesystem;

// The installed data folder as seen from the library's own file: prefix/lib[/arch]/liboxparser.so
// belongs to prefix/share/oxparser.
std::vector<fs::path> foldersBesideLibrary() {
    Dl_info self;
    if (::dladdr(reinterpret_cast<const void*>(&foldersBesideLibrary), &self) == 0 ||
        self.dli_fname == nullptr) {
        return {};
    }
    boost::system::error_code error;
    const fs::path library = fs::canonical(self.dli_fname, error);
    if (error) {
        return {};
    }
    const fs::path folder = library.parent_path();
    return {folder.parent_path() / "share" / "oxparser",
            folder.parent_path().parent_path() / "share" / "oxparser"};
}

std::vector<fs::path> resourceFolders() {
    std::vector<fs::path> folders;
    if (const char* named = std::getenv("OXPARSER_RESOURCES"); named != nullptr && *named != '\0') {
        folders.emplace_back(named);
    }
    for (const fs::path& folder : foldersBesideLibrary()) {
        folders.push_back(folder);
    }
    folders.emplace_back(OXPARSER_INSTALLED_RESOURCES);
#ifdef OXPARSER_SOURCE_RESOURCES
    folders.emplace_back(OXPARSER_SOURCE_RESOURCES);
#endif
    return folders;
}

}  // namespace

fs::path libraryResource(const std::string& name, const std::string& type) {
    const std::string fileName = name + "." + type;
    for (const fs::path& folder : resourceFolders()) {
        fs::path candidate = folder / fileName;
        boost::system::error_code error;
        if (fs::is_regular_file(candidate, error)) {
            return candidate;
        }
    }
    return {};
}
