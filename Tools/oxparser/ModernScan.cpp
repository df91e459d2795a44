#include "ModernScan.h"

#include <algorithm>
#include <set>

#include "CodeTexts.h"
#include "Counted.h"
#include "ModernResult.h"
#include "PropertyTexts.h"

namespace {

constexpr std::size_t kMostCodes = 8;    // that a summary spells out
constexpr int kRoomForContainers = 110;  // columns of a terminal

ResultShape scanShape() {
    ResultShape shape;
    shape.table = {
        {"STATE", 7, 7, 0, 0},
        // A format is never cut: where there is no room for the container, it is left out.
        {"FORMAT", 8, 8, 0, 0, Align::eLeft, Cut::eEnd, kRoomForContainers},
        {"FORMAT", 19, 19, 0, kRoomForContainers},
        {"FAMILY", 17, 34, 4, 0},
        {"STYLE", 12, 22, 2, 0},
        {"WEIGHT", 6, 6, 0, 100, Align::eRight},
        {"FOUNDRY", 12, 24, 3, 120},
        {"FINDINGS", 8, 23, 6, 0},
        {"FILE", 18, 1000, 9, 0, Align::eLeft, Cut::eStart},
    };
    shape.csv = {"state",      "file",       "format",         "container", "index",     "family",
                 "style",      "fullName",   "postscriptName", "version",   "weight",    "width",
                 "italic",     "monospace",  "foundry",        "vendor",    "embedding", "glyphs",
                 "codepoints", "languages",  "size",           "errors",    "warnings",  "notes",
                 "codes",      "fingerprint"};
    return shape;
}

std::string shortFormatText(const OxFont& font) {
    const std::string format = propertyText(font, "format");
    return format.empty() ? propertyText(font, "container") : format;
}

// Containers that are what the format is ordinarily kept in, so they are not worth a word.
constexpr const char* kPlainContainers[] = {"sfnt", "pfb", "cff"};

std::string formatText(const OxFont& font) {
    const std::string format = propertyText(font, "format");
    const std::string container = propertyText(font, "container");
    const bool plain = std::ranges::find(kPlainContainers, container) != std::end(kPlainContainers);
    if (container.empty() || (plain && !format.empty())) {
        return format;
    }
    return format.empty() ? container : format + "/" + container;
}

// Type 1 states no style, but "Charter Bold Italic" of the family "Charter" is bold italic.
std::string styleInFullName(const OxFont& font) {
    const std::string family = familyName(font) + " ";
    const std::string fullName = propertyText(font, "fullName");
    return fullName.starts_with(family) ? fullName.substr(family.size()) : std::string();
}

// Of a strike only its style word is known.
std::string styleOfStrike(const OxFont& font) {
    const bool bold = propertyText(font, "weight") == "700";
    const bool italic = propertyText(font, "italic") == "true";
    return bold && italic ? "Bold Italic" : bold ? "Bold" : italic ? "Italic" : "";
}

std::string styleText(const OxFont& font) {
    const std::string typographic = propertyText(font, "typographicStyle");
    std::string style = typographic.empty() ? propertyText(font, "style") : typographic;
    const std::string size = propertyText(font, "size");
    if (style.empty()) {
        style = size.empty() ? styleInFullName(font) : styleOfStrike(font);
    }
    return size.empty() ? style : size + " pt" + (style.empty() ? "" : " ") + style;
}

/// The codes of some records, each once, the worst first, then as they were met.
class CodeList {
  public:
    void add(const OxFont& font) {
        for (const FontDiagnosticType type : {eError, eWarning, eNote}) {
            for (const FontDiagnostic& diagnostic : font.diagnostics()) {
                if (diagnostic.type == type && known_.insert(diagnostic.code).second) {
                    codes_[type] +=
                        (codes_[type].empty() ? "" : " ") + std::to_string(diagnostic.code);
                }
            }
        }
    }
    std::string text() const {
        std::string joined;
        for (const FontDiagnosticType type : {eError, eWarning, eNote}) {
            joined += (joined.empty() || codes_[type].empty() ? "" : " ") + codes_[type];
        }
        return joined;
    }
    // The worst, and how many others there are.
    std::string brief() const {
        const std::string all = text();
        return known_.size() < 2
                   ? all
                   : all.substr(0, all.find(' ')) + " +" + std::to_string(known_.size() - 1);
    }

  private:
    std::set<int> known_;
    std::string codes_[3];
};

class ModernScanResult : public ModernResult {
  public:
    explicit ModernScanResult(const boost::shared_ptr<const OxFont>& font)
        : ModernResult(font), worst_(stateOf(*font)) {
        codes_.add(*font);
    }

    std::vector<Row> tableRows() const override {
        return {{
            {stateName(worst_), markOf(worst_)},
            {shortFormatText(font())},
            {formatText(font())},
            {familyName(font())},
            {strikes_ > 1 ? counted(strikes_, "strike") : styleText(font())},
            {strikes_ > 1 ? std::string() : propertyText(font(), "weight")},
            {propertyText(font(), "foundry")},
            {findingsText(), markOf(worst_), briefFindings()},
            {font().sourceFile().string()},
        }};
    }

    std::vector<Row> csvRows() const override {
        const DefectCounts counts = countDefects(font());
        Row row = {{stateName(worst_)}, {font().sourceFile().string()}};
        for (const char* name :
             {"format", "container", "index", "family", "style", "fullName", "postscriptName",
              "version", "weight", "width", "italic", "monospace", "foundry", "vendor", "embedding",
              "glyphs", "codepoints", "languages", "size"}) {
            row.push_back({propertyText(font(), name)});
        }
        for (const int count : {counts.errors, counts.warnings, counts.notes}) {
            row.push_back({std::to_string(count)});
        }
        row.push_back({codes_.text()});
        row.push_back({font().getAttribute(eFingerprint)});
        return {row};
    }

    std::unique_ptr<Result> startFold() const override {
        return isStrike() ? std::make_unique<ModernScanResult>(record()) : nullptr;
    }

    bool join(const Result& next) override {
        const auto* other = dynamic_cast<const ModernScanResult*>(&next);
        if (other == nullptr || !other->isStrike() ||
            other->font().sourceFile() != font().sourceFile() ||
            familyName(other->font()) != familyName(font())) {
            return false;
        }
        ++strikes_;
        worst_ = std::max(worst_, other->worst_);
        codes_.add(other->font());
        return true;
    }

  private:
    bool isStrike() const { return font().properties().find("size") != nullptr; }

    // A file that is no font has nothing else to show than what it is.
    std::string findingsText() const {
        const std::string codes = codes_.text();
        if (worst_ != FontState::eNoFont || font().diagnostics().front().text.empty()) {
            return codes;
        }
        return codes + " " + font().diagnostics().front().text;
    }
    std::string briefFindings() const {
        const bool isFont = worst_ != FontState::eNoFont;
        return isFont ? codes_.brief() : font().diagnostics().front().text;
    }

    int strikes_ = 1;  // that this line stands for
    FontState worst_;
    CodeList codes_;
};

}  // namespace

ResultShape ModernScan::shape() const {
    ResultShape shape = scanShape();
    shape.folds = !unfolded_;
    return shape;
}

std::unique_ptr<Result> ModernScan::result(const ScanSession::Record& font) {
    const FontState state = stateOf(*font);
    ++states_[state];
    std::set<int> met;
    for (const FontDiagnostic& diagnostic : font->diagnostics()) {
        Code& code = codes_[diagnostic.code];
        code.faces += met.insert(diagnostic.code).second ? 1 : 0;
        code.worst = std::min(code.worst, markOf(diagnostic.type));
    }
    if (state != FontState::eNoFont) {
        const std::string format = propertyText(*font, "format");
        ++faces_;
        ++formats_[format.empty() ? "of no known format" : format];
        files_ += files_ == 0 || file_ != font->sourceFile() ? 1 : 0;
        file_ = font->sourceFile();
    }
    return std::make_unique<ModernScanResult>(font);
}

std::string ModernScan::summary(const ScanSummary& summary) const {
    std::string text = facesText() + " in " + counted(files_, "file");
    if (!formats_.empty()) {
        std::string formats;
        for (const auto& [format, count] : formats_) {
            formats += (formats.empty() ? "" : ", ") + std::to_string(count) + " " + format;
        }
        text += ": " + formats;
    }
    if (summary.cancelled) {
        text += " (ended early after " + counted(summary.filesParsed, "file") + ")";
    }
    for (const std::string& line :
         {statesText(), noFontsText(summary), codesText(), adviceText()}) {
        text += line.empty() ? "" : "\n" + line;
    }
    return text;
}

std::string ModernScan::facesText() const {
    return counted(faces_, "face");
}

std::string ModernScan::statesText() const {
    std::string text;
    for (const auto& [state, count] : states_) {
        if (state != FontState::eNoFont) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + stateName(state);
        }
    }
    return text;
}

std::string ModernScan::noFontsText(const ScanSummary& summary) const {
    // A scan that ended early has not looked at all it has found.
    const int others = (summary.cancelled ? summary.filesParsed : summary.filesFound) - files_;
    if (others <= 0) {
        return {};
    }
    const std::string text = counted(others, "file") + (others == 1 ? " is" : " are") + " no font" +
                             (others == 1 ? "" : "s");
    const auto named = states_.find(FontState::eNoFont);
    if (named == states_.end()) {
        return text;
    }
    return text + ", though " + std::to_string(named->second) +
           (named->second == 1 ? " has" : " have") + " a font's name";
}

// What the codes in the table say: the gravest first, of those the most frequent.
std::string ModernScan::codesText() const {
    std::vector<std::pair<int, Code>> sorted(codes_.begin(), codes_.end());
    std::ranges::stable_sort(sorted, {}, [](const auto& entry) {
        return std::pair(entry.second.worst, -entry.second.faces);
    });
    std::string text;
    for (std::size_t i = 0; i < std::min(sorted.size(), kMostCodes); ++i) {
        const auto& [number, code] = sorted[i];
        text += std::string(i == 0 ? "" : "\n") + "  " + std::to_string(code.faces) + " with " +
                std::to_string(number) + ": " + describe({eNote, number, {}});
    }
    const int others = static_cast<int>(sorted.size()) - static_cast<int>(kMostCodes);
    return others > 0 ? text + "\n  and " + counted(others, "code") + " more" : text;
}

std::string ModernScan::adviceText() const {
    const bool findings = std::ranges::any_of(
        states_, [](const auto& entry) { return entry.first != FontState::eOk; });
    return findings ? "oxparser check PATH tells what was found, oxparser explain CODE what a code "
                      "means"
                    : std::string();
}
