#include "FolderPartners.h"

FolderPartners::Paths FolderPartners::of(const boost::filesystem::path& file,
                                         std::span<const std::string_view> extensions) {
    const boost::filesystem::path folder = file.parent_path();
    const auto listing = listings_.of(folder, FolderListings::Links::eFollow);
    const std::string stem = file.stem().string();
    Paths paths;
    for (const std::string_view extension : extensions) {
        const FolderListing::Entry* entry = listing->findAnyCase(stem + std::string(extension));
        const bool isOther = entry != nullptr && entry->name != file.filename().string();
        if (isOther && (entry->isFile || entry->maybeLink)) {
            paths.push_back(folder / entry->name);
        }
    }
    return paths;
}
