#include "SfntCoverage.h"

#include <algorithm>

#include "CharacterMap.h"
#include "Orthographies.h"
#include "TextDecoding.h"

namespace {

constexpr int kVersion = 11200;
constexpr int kCount = 11201;
constexpr int kOutside = 20109;
constexpr int kFormat = 20110;
constexpr int kCut = 20111;

constexpr SfntTag kCmap = fourCharCode("cmap");
constexpr std::uint32_t kHeaderSize = 4;
constexpr std::uint32_t kRecordSize = 8;
constexpr int kUnicode = -1;  // in place of a Macintosh script
constexpr unsigned kVariationSequences = 14;

constexpr std::uint64_t kLanguagesWork = 100000;
constexpr std::uint64_t kKeptPageWork = 256;
constexpr std::uint64_t kListedPageWork = 1024;

enum Platform : std::uint16_t { eUnicode = 0, eMacintosh = 1, eWindows = 3 };

// The encoding records by what is best.
struct Preference {
    std::uint16_t platform, encoding;
};
constexpr Preference kPreferences[] = {{eWindows, 10}, {eUnicode, 6}, {eUnicode, 4},
                                       {eWindows, 1},  {eUnicode, 3}, {eUnicode, 2},
                                       {eUnicode, 1},  {eUnicode, 0}, {eWindows, 0}};
constexpr unsigned kSymbolRank = std::size(kPreferences) - 1;
constexpr unsigned kMacintoshRank = std::size(kPreferences);
constexpr unsigned kNoRank = kMacintoshRank + 1;

struct Subtable {
    unsigned rank;
    std::uint16_t platform, encoding;
    std::uint32_t offset;
};

unsigned rankOf(std::uint16_t platform, std::uint16_t encoding) {
    for (unsigned i = 0; i < std::size(kPreferences); ++i) {
        if (kPreferences[i].platform == platform && kPreferences[i].encoding == encoding) {
            return i;
        }
    }
    // Of scripts with two bytes a character it is not known what the codes mean.
    const bool isKnownScript = platform == eMacintosh && macScriptCharacter(encoding, 'A') != 0;
    return isKnownScript ? kMacintoshRank : kNoRank;
}

std::string nameOf(const Subtable& subtable) {
    return "(" + std::to_string(subtable.platform) + "," + std::to_string(subtable.encoding) + ")";
}

// Reads a 'cmap' table for one font.
class CoverageReader {
  public:
    CoverageReader(SfntFont& font, const FontTable& table) : font_(font), table_(table) {}

    void read();

  private:
    std::vector<Subtable> subtables();
    bool isReadable(const Subtable& subtable);
    const CharacterCoverage& coverage(const Subtable& subtable);
    void fill(CharacterCoverage& coverage, const Subtable& subtable);

    SfntFont& font_;
    const FontTable& table_;
};

// Those that can be chosen, the best first.
std::vector<Subtable> CoverageReader::subtables() {
    const ByteView bytes = table_.bytes;
    const unsigned version = bytes.u16be(0, "version");
    if (version != 0) {
        font_.find(eWarning, kVersion, std::to_string(version) + ", should be 0",
                   font_.place(table_, "version"));
    }
    const std::uint32_t count = bytes.u16be(2, "numTables");
    const auto room = static_cast<std::uint32_t>((bytes.size() - kHeaderSize) / kRecordSize);
    if ((count == 0 || count > room) && !table_.isCut()) {
        font_.find(eError, kCount, std::to_string(count) + ", room for " + std::to_string(room),
                   font_.place(table_, "numTables", 2));
    }
    std::vector<Subtable> found;
    for (std::uint32_t i = 0; i < std::min(count, room); ++i) {
        const ByteView row = bytes.slice(kHeaderSize + i * kRecordSize, 1, kRecordSize);
        const Subtable subtable = {rankOf(row.u16be(0), row.u16be(2)), row.u16be(0), row.u16be(2),
                                   row.u32be(4)};
        if (subtable.offset >= bytes.size()) {
            if (!table_.isCut()) {
                font_.find(
                    kOutside,
                    nameOf(subtable) + " at " + std::to_string(subtable.offset) +
                        " of a table of " + std::to_string(table_.length),
                    font_.place(table_, "subtableOffset", kHeaderSize + i * kRecordSize + 4));
            }
        } else if (subtable.rank != kNoRank) {
            found.push_back(subtable);
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Subtable& a, const Subtable& b) { return a.rank < b.rank; });
    return found;
}

bool CoverageReader::isReadable(const Subtable& subtable) {
    const unsigned format = table_.bytes.u16be(subtable.offset, "format");
    if (CharacterMap::knowsFormat(format)) {
        return true;
    }
    if (format != kVariationSequences) {
        font_.find(kFormat, nameOf(subtable) + " has format " + std::to_string(format),
                   font_.place(table_, "format", subtable.offset));
    }
    return false;
}

void CoverageReader::fill(CharacterCoverage& coverage, const Subtable& subtable) {
    CharacterSet codes;
    try {
        CharacterMap map(table_.bytes.from(subtable.offset), font_.glyphCount(),
                         [this](std::uint64_t work) { return font_.spend(work); });
        map.addCodes(codes);
    } catch (const ReadPastEnd& error) {
        coverage.damage = nameOf(subtable) + ": " + error.field() + " at " +
                          std::to_string(subtable.offset + error.offset()) + " of a table of " +
                          std::to_string(table_.length);
    }
    if (subtable.platform != eMacintosh) {
        coverage.characters = std::move(codes);
    } else {
        for (unsigned code = 0; code < 256; ++code) {
            const char32_t character =
                codes.contains(code)
                    ? macScriptCharacter(subtable.encoding, static_cast<std::uint8_t>(code))
                    : 0;
            if (character != 0) {
                coverage.characters.add(character);
            }
        }
    }
    coverage.count = coverage.characters.count();
    if (font_.spend(kLanguagesWork + coverage.characters.pages().size() * kKeptPageWork)) {
        coverage.languages = coveredLanguages(coverage.characters);
    }
}

const CharacterCoverage& CoverageReader::coverage(const Subtable& subtable) {
    const int script = subtable.platform == eMacintosh ? subtable.encoding : kUnicode;
    const auto [known, isNew] = font_.shared().coverages.try_emplace(
        {std::uint64_t{table_.offset} + subtable.offset, font_.glyphCount(), script});
    if (isNew) {
        fill(known->second, subtable);
    }
    return known->second;
}

void CoverageReader::read() {
    const std::vector<Subtable> found = subtables();
    const auto chosen = std::find_if(found.begin(), found.end(),
                                     [this](const Subtable& s) { return isReadable(s); });
    Face& face = font_.face();
    face.set("symbol", chosen != found.end() && chosen->rank == kSymbolRank);
    if (chosen == found.end()) {
        return;
    }
    const CharacterCoverage& covered = coverage(*chosen);
    if (!covered.damage.empty() && !table_.isCut()) {
        font_.find(kCut, covered.damage, font_.place(table_, "", chosen->offset));
    }
    face.set("codepoints", covered.count);
    if (face.context().details.coverage &&
        font_.spend(covered.characters.pages().size() * kListedPageWork)) {
        face.set("coverage", covered.characters.ranges());
    }
    if (!font_.spend(covered.languages.size() * kListedPageWork / 16)) {
        return;
    }
    OxPropertyValue::List languages(covered.languages.begin(), covered.languages.end());
    face.set("languages", std::move(languages));
}

}  // namespace

void readCoverage(SfntFont& font) {
    if (const FontTable* table = font.table(kCmap)) {
        font.attempt(*table, [&] { CoverageReader(font, *table).read(); });
    }
}
