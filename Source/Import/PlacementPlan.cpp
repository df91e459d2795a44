#include "PlacementPlan.h"

#include <algorithm>
#include <utility>

#include "TextDecoding.h"

namespace fs = boost::filesystem;

namespace {

// How well a record tells the family and foundry of its set. Strikes and metrics name few of them.
int meritOf(const OxFont& font) {
    if (font.getAttribute(eFamilyname).empty()) {
        return 0;
    }
    const OxPropertyValue* format = font.properties().find("format");
    const std::string* name = format == nullptr ? nullptr : format->text();
    const bool isProgram = name != nullptr && *name != "metrics" && *name != "bitmap";
    const std::string foundry = font.getAttribute(eFoundry);
    const bool isKnownFoundry = !foundry.empty() && foundry != "Unknown";
    return 1 + (isProgram ? 2 : 0) + (isKnownFoundry ? 1 : 0);
}

}  // namespace

void PlacementPlan::add(const OxFont& font) {
    const std::size_t number = records_.size();
    const std::string name = font.getAttribute(eFileName);
    Record record{SlimRecord(font), kNone, kNone, meritOf(font), {}};
    if (!name.empty()) {
        const fs::path source = fs::path(font.getAttribute(eFontFilePath)) / name;
        record.file = fileNumber(source);
        record.ownFolder = folderNumber(layout_(font));
        File& file = files_[record.file];
        if (file.firstRecord == kNone) {
            file.firstRecord = number;
            file.source = source;  // a property's text need not be the path's bytes
        }
        for (const fs::path& partner : partnersOf(font)) {
            const std::size_t other = fileNumber(partner);
            if (other != record.file) {
                record.partners.push_back(other);
                files_[other].namer = std::min(files_[other].namer, number);
            }
        }
    }
    records_.push_back(std::move(record));
}

void PlacementPlan::decide() {
    joinPartners();
    chooseFolders();
    listSteps();
    spellFolders();
    listSets();
}

void PlacementPlan::listSteps() {
    std::vector<bool> listed(files_.size());
    for (std::size_t number = 0; number < records_.size(); ++number) {
        steps_.push_back({number, records_[number].file});
        for (const std::size_t partner : records_[number].partners) {
            const File& file = files_[partner];
            if (file.firstRecord == kNone && file.namer == number && !listed[partner]) {
                steps_.push_back({number, partner});
                listed[partner] = true;
            }
        }
    }
}

void PlacementPlan::spellFolders() {
    std::map<std::size_t, std::size_t> spelled;
    std::vector<bool> done(files_.size());
    for (const Step& step : steps_) {
        if (step.file == kNone || done[step.file]) {
            continue;
        }
        done[step.file] = true;
        std::size_t& folder = files_[step.file].folder;
        const auto [known, isNew] = spelled.try_emplace(folder, kNone);
        if (isNew) {
            known->second = folderNumber(spelling_(folders_[folder]));
        }
        folder = known->second;
    }
}

std::size_t PlacementPlan::recordOf(std::size_t file) const {
    const File& it = files_[file];
    return it.firstRecord != kNone ? it.firstRecord : it.namer;
}

std::vector<std::size_t> PlacementPlan::setOf(std::size_t file) const {
    const auto found = sets_.find(files_[file].set);
    return found == sets_.end() ? std::vector<std::size_t>{file} : found->second;
}

// By the path as text: properties are UTF-8 whatever the path's bytes.
std::size_t PlacementPlan::fileNumber(const fs::path& source) {
    const auto [entry, isNew] =
        fileNumbers_.try_emplace(fromUnstated(source.lexically_normal().string()), files_.size());
    if (isNew) {
        files_.emplace_back().source = source;
    }
    return entry->second;
}

std::size_t PlacementPlan::folderNumber(const fs::path& folder) {
    const auto [entry, isNew] = folderNumbers_.try_emplace(folder.string(), folders_.size());
    if (isNew) {
        folders_.push_back(folder);
    }
    return entry->second;
}

void PlacementPlan::joinPartners() {
    for (std::size_t file = 0; file < files_.size(); ++file) {
        files_[file].set = file;
    }
    for (const Record& record : records_) {
        for (const std::size_t partner : record.partners) {
            const std::size_t one = representative(record.file);
            const std::size_t other = representative(partner);
            files_[std::max(one, other)].set = std::min(one, other);
        }
    }
}

void PlacementPlan::chooseFolders() {
    std::vector<std::size_t> best(files_.size(), kNone);  // by the set's representative
    for (std::size_t number = 0; number < records_.size(); ++number) {
        if (records_[number].file == kNone) {
            continue;
        }
        std::size_t& known = best[representative(records_[number].file)];
        if (known == kNone || records_[number].merit > records_[known].merit) {
            known = number;
        }
    }
    for (std::size_t file = 0; file < files_.size(); ++file) {
        files_[file].folder = records_[best[representative(file)]].ownFolder;
    }
}

std::size_t PlacementPlan::representative(std::size_t file) {
    while (files_[file].set != file) {
        files_[file].set = files_[files_[file].set].set;
        file = files_[file].set;
    }
    return file;
}

void PlacementPlan::listSets() {
    std::vector<std::size_t> sizes(files_.size());
    for (std::size_t file = 0; file < files_.size(); ++file) {
        files_[file].set = representative(file);
        ++sizes[files_[file].set];
    }
    std::vector<bool> listed(files_.size());
    for (const Step& step : steps_) {
        if (step.file != kNone && !listed[step.file] && sizes[files_[step.file].set] > 1) {
            sets_[files_[step.file].set].push_back(step.file);
            listed[step.file] = true;
        }
    }
}
