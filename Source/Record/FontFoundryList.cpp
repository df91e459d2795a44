#include "FontFoundryList.h"

#include <bitset>
#include <boost/filesystem/operations.hpp>
#include <boost/tokenizer.hpp>
#include <fstream>
#include <mutex>
#include <new>

#include "LibraryResources.h"
#include "Log.h"

namespace {

// Which pairs of characters a text has, roughly: of some that it has not it says so, too. Most
// names on the list are ruled out without a search.
class CharacterPairs {
  public:
    explicit CharacterPairs(const std::string& text) {
        for (std::size_t i = 0; i + 1 < text.size(); ++i) {
            pairs_.set(slotOf(text, i));
        }
    }
    bool mayHold(const std::string& name) const {
        return name.size() < 2 || pairs_.test(slotOf(name, 0));
    }

  private:
    static constexpr std::size_t kSlots = 4096;

    static std::size_t slotOf(const std::string& text, std::size_t i) {
        return (static_cast<unsigned char>(text[i]) * 31U +
                static_cast<unsigned char>(text[i + 1])) %
               kSlots;
    }

    std::bitset<kSlots> pairs_;
};

union ProcessLifetime {
    char nothing;
    FontFoundryList list;
    constexpr ProcessLifetime() : nothing() {}
    ~ProcessLifetime() {}
};
ProcessLifetime holder;

[[gnu::constructor(101)]] void constructTheFoundries() {
    new (&holder.list) FontFoundryList;
}

}  // namespace

FontFoundryList& theFoundries = holder.list;

FontFoundryList::FontFoundryList() = default;
FontFoundryList::~FontFoundryList() = default;

void FontFoundryList::LoadLists() {
    theFoundries.LoadFoundryNames(libraryResource("foundrylist", "txt").string());
    theFoundries.LoadFoundryCodes(libraryResource("foundrycodelist", "txt").string());
}

void FontFoundryList::LoadFoundryNames(const std::string& path) {
    boost::system::error_code error;
    if (!boost::filesystem::exists(path, error)) {
        return;
    }
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> names;
    for (std::string line; std::getline(file, line);) {
        names.push_back(line);
    }
    const std::unique_lock lock(mutex_);
    names_.insert(names_.end(), names.begin(), names.end());
}

void FontFoundryList::LoadFoundryCodes(const std::string& path) {
    static const LogChannel log("FontFoundryList");
    std::ifstream file(path, std::ios::binary);
    const boost::char_separator<char> tabs("\t");
    std::vector<std::pair<std::string, std::string>> entries;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        const boost::tokenizer<boost::char_separator<char>> fields(line, tabs);
        auto field = fields.begin();
        if (field == fields.end() || std::next(field) == fields.end()) {
            log.warn("Foundry code list line with fewer than two fields skipped:  " + path + ":" +
                     std::to_string(number));
            continue;
        }
        const std::string code = *field;
        entries.emplace_back(code, *++field);
    }
    const std::unique_lock lock(mutex_);
    for (auto& [code, name] : entries) {
        codes_[code] = std::move(name);
    }
}

std::string FontFoundryList::FindFoundryFromCopyright(const std::string& copyright) const {
    const CharacterPairs pairs(copyright);
    const std::shared_lock lock(mutex_);
    for (const std::string& name : names_) {
        if (pairs.mayHold(name) && copyright.find(name) != std::string::npos) {
            return name;
        }
    }
    return "Unknown";
}

std::string FontFoundryList::FindFoundryFromCode(const std::string& code) const {
    const std::shared_lock lock(mutex_);
    const auto found = codes_.find(code);
    return found != codes_.end() ? found->second : "Unknown";
}
