#include "LibraryResources.h"

#include <dlfcn.h>
#include <link.h>

#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <vector>

namespace {

namespace fs = boost::filesystem;

// The file that holds this code. Where that is the program, because the library is linked in, the
// loader knows only what it was called by, which says nothing when it was found through PATH.
fs::path ownFile() {
    Dl_info self;
    void* object = nullptr;
    if (::dladdr1(reinterpret_cast<const void*>(&ownFile), &self, &object, RTLD_DL_LINKMAP) == 0) {
        return {};
    }
    const char* const library = static_cast<const link_map*>(object)->l_name;
    boost::system::error_code error;
    return fs::canonical(*library == '\0' ? "/proc/self/exe" : library, error);
}

std::vector<fs::path> resourceFolders() {
    std::vector<fs::path> folders;
    if (const char* named = std::getenv("OXPARSER_RESOURCES"); named != nullptr && *named != '\0') {
        folders.emplace_back(named);
    }
    // prefix/bin/oxparser, prefix/lib/liboxparser.so and prefix/lib/ARCH/liboxparser.so belong to
    // prefix/share/oxparser.
    std::vector<fs::path> prefixes;
    if (const fs::path own = ownFile(); !own.empty()) {
        prefixes = {own.parent_path().parent_path(), own.parent_path().parent_path().parent_path()};
    }
    for (const fs::path& prefix : prefixes) {
        folders.push_back(prefix / "share" / "oxparser");
    }
    folders.emplace_back(OXPARSER_INSTALLED_RESOURCES);
    for (const fs::path& prefix : prefixes) {
        folders.push_back(prefix / "build-tree-resources");
    }
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
