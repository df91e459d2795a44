#include "FolderSpellings.h"

#include <boost/filesystem/operations.hpp>
#include <boost/system/error_code.hpp>

#include "SafeNames.h"

namespace fs = boost::filesystem;
using boost::system::error_code;

fs::path FolderSpellings::below(const fs::path& parent, const std::string& name) {
    if (name.empty()) {
        return parent;
    }
    return parent / in(parent).try_emplace(caseFolded(name), name).first->second;
}

// Of several folders that differ in case only, the first one by its bytes wins, whatever the order
// of the listing.
FolderSpellings::Spellings& FolderSpellings::in(const fs::path& parent) {
    const auto [entry, isNew] = folders_.try_emplace(parent.string());
    Spellings& spellings = entry->second;
    if (!isNew) {
        return spellings;
    }
    error_code error;
    fs::directory_iterator found(destination_ / parent, error);
    for (; !error && found != fs::directory_iterator(); found.increment(error)) {
        error_code unknown;
        const std::string name = found->path().filename().string();
        if (found->status(unknown).type() != fs::directory_file) {
            continue;
        }
        const auto [known, isFirst] = spellings.try_emplace(caseFolded(name), name);
        if (!isFirst && name < known->second) {
            known->second = name;
        }
    }
    return spellings;
}
