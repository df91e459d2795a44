#include "CollectedImport.h"

#include <sys/stat.h>

#include <exception>
#include <string>

#include "Log.h"
#include "SafeNames.h"

namespace {

namespace fs = boost::filesystem;

const LogChannel& logChannel() {
    static const LogChannel channel("OxFontImporter");
    return channel;
}

fs::path layoutOf(const OxFont& font) {
    const std::string family = safeName(font.getAttribute(eFamilyname));
    fs::path folder;
    for (const std::string& element :
         {initialOf(family), family, safeName(font.getAttribute(eFoundry))}) {
        if (!element.empty()) {
            folder /= element;
        }
    }
    return folder;
}

// A partner's name stands in a record; the file need not be there any more.
bool exists(const fs::path& file) {
    struct stat status;
    return ::lstat(file.c_str(), &status) == 0;
}

bool isThere(const CopyResult& result) {
    return result.outcome == CopyOutcome::eCopied || result.outcome == CopyOutcome::eSame;
}

}  // namespace

CollectedImport::CollectedImport(const fs::path& destination)
    : destination_(destination),
      spellings_(destination),
      plan_(layoutOf, [this](const fs::path& folder) { return spelled(folder); }) {}

void CollectedImport::place(const Ways& ways, bool keepBoth) {
    plan_.decide();
    placed_.resize(plan_.fileCount());
    std::vector<bool> told(plan_.fileCount());
    for (const PlacementPlan::Step& step : plan_.steps()) {
        const bool hasFile = step.file != PlacementPlan::kNone;
        const bool isPartner = hasFile && plan_.isOnlyPartner(step.file);
        if (isPartner && !exists(plan_.source(step.file))) {
            continue;
        }
        if (hasFile && !placed_[step.file] && !ways.cancelled()) {
            placeSet(ways, keepBoth ? plan_.setOf(step.file) : Files{step.file}, keepBoth);
        }
        if (hasFile ? !placed_[step.file].has_value() : ways.cancelled()) {
            leftOut_ += isPartner ? 0 : 1;
            continue;
        }
        tell(ways, step, hasFile && told[step.file]);
        if (hasFile) {
            told[step.file] = true;
        }
    }
}

fs::path CollectedImport::spelled(const fs::path& folder) {
    fs::path path;
    for (const fs::path& element : folder) {
        path = spellings_.below(path, element.string());
    }
    return path;
}

fs::path CollectedImport::destinationOf(const Files& set, std::size_t file, unsigned number) {
    const fs::path& folder = plan_.folder(file);
    const std::string name = safeFileName(plan_.source(file).filename().string());
    if (number == 1) {
        return folder / name;
    }
    if (set.size() == 1) {
        return folder / numberedFileName(name, number);
    }
    const std::string first = safeFileName(plan_.source(set.front()).filename().string());
    return spellings_.below(folder, numberedFolderName(first, number)) / name;
}

bool CollectedImport::anyDiffers(const Ways& ways, const Files& set, unsigned number) {
    for (const std::size_t file : set) {
        if (ways.differs(plan_.source(file), destinationOf(set, file, number))) {
            return true;
        }
    }
    return false;
}

void CollectedImport::placeSet(const Ways& ways, const Files& set, bool keepBoth) {
    unsigned number = 1;
    while (keepBoth && number <= kMostKept && anyDiffers(ways, set, number)) {
        ++number;
    }
    number = number > kMostKept ? 1 : number;
    for (const std::size_t file : set) {
        if (ways.cancelled()) {
            return;
        }
        if (!plan_.isOnlyPartner(file) || exists(plan_.source(file))) {
            const fs::path destination = destinationOf(set, file, number);
            boost::shared_ptr<OxFont> font = plan_.record(plan_.recordOf(file)).restored();
            placed_[file] = Placed{destination, ways.place(plan_.source(file), destination, font)};
        }
    }
}

void CollectedImport::tell(const Ways& ways, const PlacementPlan::Step& step, bool isFurtherFace) {
    const boost::shared_ptr<OxFont> font = plan_.record(step.record).restored();
    FontCopy copy{fs::path(), fs::path(), CopyOutcome::eNoFile, {}, font};
    if (step.file != PlacementPlan::kNone) {
        const auto& [destination, result] = *placed_[step.file];
        copy.source = plan_.source(step.file);
        copy.destination = destination_ / destination;
        copy.outcome = isFurtherFace && isThere(result) ? CopyOutcome::eSameFile : result.outcome;
        copy.error = result.error;
        font->setAttribute(eFontFilePath, destination.parent_path().string());
    }
    try {
        ways.report(copy);
    } catch (const std::exception& error) {
        // A host's callback; the other files are to be placed all the same.
        logChannel().error(error.what());
    }
}
