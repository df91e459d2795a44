#include "CompatibleScan.h"

#include "CodeTexts.h"

namespace {

// The attributes that a csv file shows, under the names of their keys.
constexpr const char* kCsvAttributes[] = {
    eFamilyname, eSubFamilyname, eFullname, ePostscriptname, eFoundry,     eFontVersion,
    ePlatform,   eWeight,        eWidth,    eUniqueId,       eFontOffset,  eKerningChecksum,
    eFontId,     eStyleType,     eFntSize,  eCopyright,      eFingerprint,
};

ResultShape scanShape() {
    ResultShape shape;
    shape.table = {
        {"TYPE", 4, 9, 1, 0},
        {"FAMILY", 18, 34, 6, 0},
        {"STYLE", 10, 22, 3, 0},
        {"FOUNDRY", 12, 24, 3, 120},
        {"VERSION", 12, 24, 3, 160},
        {"POSTSCRIPT NAME", 20, 36, 6, 180},
        {"ERR", 3, 3, 0, 0, Align::eRight},
        {"WRN", 3, 3, 0, 0, Align::eRight},
        {"NOTE", 4, 4, 0, 0, Align::eRight},
        {"FILE", 24, 1000, 9, 0, Align::eLeft, Cut::eStart},
    };
    shape.csv = {"file", "fontType"};
    shape.csv.insert(shape.csv.end(), std::begin(kCsvAttributes), std::end(kCsvAttributes));
    shape.csv.insert(shape.csv.end(), {"errors", "warnings", "notes", "diagnostics"});
    return shape;
}

std::string countText(int count) {
    return count == 0 ? std::string() : std::to_string(count);
}

// A record without a family name still has some name to show, more often than not.
std::string familyText(const OxFont& font) {
    const std::string family = font.getAttribute(eFamilyname);
    return family.empty() ? font.getAttribute(eDisplayname) : family;
}

std::string typeText(const OxFont& font) {
    return font.getFontType() == OxFont::notSure ? "?" : fontTypeText(font);
}

// A foundry that is not known is left blank: most free fonts name none.
std::string foundryText(const OxFont& font) {
    const std::string foundry = font.getAttribute(eFoundry);
    return foundry == "Unknown" ? std::string() : foundry;
}

std::string joinedDefects(const OxFont& font) {
    std::string joined;
    for (const FontDiagnostic& diagnostic : font.diagnostics()) {
        joined += joined.empty() ? "" : "; ";
        joined += std::string(severityName(diagnostic.type)) + " " +
                  std::to_string(diagnostic.code) + " " + describe(diagnostic);
    }
    return joined;
}

class CompatibleScanResult : public FontResult {
  public:
    using FontResult::FontResult;

    std::vector<Row> tableRows() const override {
        const DefectCounts counts = countDefects(font());
        return {{
            {typeText(font())},
            {familyText(font())},
            {font().getAttribute(eSubFamilyname)},
            {foundryText(font())},
            {font().getAttribute(eFontVersion)},
            {font().getAttribute(ePostscriptname)},
            {countText(counts.errors), Mark::eError},
            {countText(counts.warnings), Mark::eWarning},
            {countText(counts.notes), Mark::eNote},
            {font().sourceFile().string()},
        }};
    }

    std::vector<Row> csvRows() const override {
        const DefectCounts counts = countDefects(font());
        Row row = {{font().sourceFile().string()}, {fontTypeText(font())}};
        for (const char* key : kCsvAttributes) {
            row.push_back({font().getAttribute(key)});
        }
        for (const int count : {counts.errors, counts.warnings, counts.notes}) {
            row.push_back({std::to_string(count)});
        }
        row.push_back({joinedDefects(font())});
        return {row};
    }
};

}  // namespace

ResultShape CompatibleScan::shape() const {
    return scanShape();
}

std::unique_ptr<Result> CompatibleScan::result(const ScanSession::Record& font) {
    return std::make_unique<CompatibleScanResult>(font);
}
