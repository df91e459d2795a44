#include "Orthographies.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <bit>
#include <bitset>
#include <cstddef>
#include <map>
#include <utility>

namespace {

// More than any fontconfig has (2.14: 246).
constexpr std::size_t kMostLanguages = 512;
using Languages = std::bitset<kMostLanguages>;

// What one page of characters asks of a set: languages often share a page to the last bit.
struct Demand {
    CharacterSet::Page bits;
    Languages languages;
};

// All orthographies turned about: by page, and not by language.
struct OrthographyPage {
    std::uint32_t number;
    Languages languages;  // that have characters there
    std::vector<Demand> demands;
};

bool covers(const CharacterSet::Page& own, const CharacterSet::Page& wanted) {
    return ((wanted[0] & ~own[0]) | (wanted[1] & ~own[1]) | (wanted[2] & ~own[2]) |
            (wanted[3] & ~own[3])) == 0;
}

std::vector<std::string> fontconfigLanguages() {
    std::vector<std::string> names;
    FcStrSet* const set = FcGetLangs();
    FcStrList* const list = set == nullptr ? nullptr : FcStrListCreate(set);
    while (const FcChar8* name = list == nullptr ? nullptr : FcStrListNext(list)) {
        names.emplace_back(reinterpret_cast<const char*>(name));
    }
    if (list != nullptr) {
        FcStrListDone(list);
    }
    if (set != nullptr) {
        FcStrSetDestroy(set);
    }
    std::sort(names.begin(), names.end());
    return names;
}

CharacterSet orthographyOf(const std::string& language) {
    CharacterSet result;
    const FcCharSet* const set =
        FcLangGetCharSet(reinterpret_cast<const FcChar8*>(language.c_str()));
    FcChar32 map[FC_CHARSET_MAP_SIZE];
    FcChar32 next = 0;
    for (FcChar32 base = set == nullptr ? FC_CHARSET_DONE : FcCharSetFirstPage(set, map, &next);
         base != FC_CHARSET_DONE; base = FcCharSetNextPage(set, map, &next)) {
        for (unsigned word = 0; word < FC_CHARSET_MAP_SIZE; ++word) {
            for (FcChar32 bits = map[word]; bits != 0; bits &= bits - 1) {
                result.add(base + word * 32 + static_cast<unsigned>(std::countr_zero(bits)));
            }
        }
    }
    return result;
}

class Orthographies {
  public:
    Orthographies() {
        std::map<std::uint32_t, OrthographyPage> pages;
        for (std::string& name : fontconfigLanguages()) {
            const CharacterSet characters = orthographyOf(name);
            if (characters.empty() || names_.size() == kMostLanguages) {
                continue;
            }
            for (const CharacterSet::NumberedPage& page : characters.pages()) {
                demand(pages.try_emplace(page.number, OrthographyPage{page.number, {}, {}})
                           .first->second,
                       page.bits, names_.size());
            }
            all_.set(names_.size());
            names_.push_back(std::move(name));
        }
        for (auto& [number, page] : pages) {
            pages_.push_back(std::move(page));
        }
    }

    std::vector<std::string> coveredBy(const CharacterSet& characters) const {
        Languages covered = all_;
        auto own = characters.pages().begin();
        const auto end = characters.pages().end();
        for (const OrthographyPage& page : pages_) {
            while (own != end && own->number < page.number) {
                ++own;
            }
            if (own == end || own->number != page.number) {
                covered &= ~page.languages;
            } else if ((covered & page.languages).any()) {
                strike(covered, page, own->bits);
            }
        }
        return namesOf(covered);
    }

  private:
    static void demand(OrthographyPage& page, const CharacterSet::Page& bits,
                       std::size_t language) {
        page.languages.set(language);
        const auto same = std::find_if(page.demands.begin(), page.demands.end(),
                                       [&bits](const Demand& other) { return other.bits == bits; });
        Demand& own =
            same != page.demands.end() ? *same : page.demands.emplace_back(Demand{bits, {}});
        own.languages.set(language);
    }
    // Takes away those whose characters on a page are not all there.
    static void strike(Languages& covered, const OrthographyPage& page,
                       const CharacterSet::Page& bits) {
        for (const Demand& demand : page.demands) {
            if (!covers(bits, demand.bits)) {
                covered &= ~demand.languages;
            }
        }
    }
    std::vector<std::string> namesOf(const Languages& languages) const {
        std::vector<std::string> result;
        result.reserve(languages.count());
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (languages.test(i)) {
                result.push_back(names_[i]);
            }
        }
        return result;
    }

    std::vector<std::string> names_;
    std::vector<OrthographyPage> pages_;  // by rising number
    Languages all_;
};

}  // namespace

std::vector<std::string> coveredLanguages(const CharacterSet& characters) {
    // Never destroyed: threads may still be reading when the process ends.
    static const Orthographies& orthographies = *new Orthographies;
    // The fonts of a family, which mostly follow one another, have the same characters.
    thread_local CharacterSet lastCharacters;
    thread_local std::vector<std::string> lastLanguages;
    if (characters.empty() || !(characters == lastCharacters)) {
        lastCharacters = {};
        lastLanguages = orthographies.coveredBy(characters);
        lastCharacters = characters;
    }
    return lastLanguages;
}
