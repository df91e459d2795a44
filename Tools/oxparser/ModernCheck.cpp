#include "ModernCheck.h"

#include "CodeTexts.h"
#include "ModernResult.h"
#include "PropertyTexts.h"

namespace {

ResultShape checkShape() {
    ResultShape shape;
    shape.table = {
        {"LEVEL", 7, 7, 0, 0},
        {"CODE", 5, 5, 0, 0, Align::eRight},
        {"FINDING", 40, 76, 3, 0, Align::eLeft, Cut::eMiddle},
        {"FONT", 20, 30, 1, 140},
        {"FILE", 20, 1000, 2, 0, Align::eLeft, Cut::eStart},
    };
    shape.csv = {"file", "index", "level", "code", "table", "offset", "text", "message"};
    return shape;
}

std::string fontName(const OxFont& font) {
    const std::string postscriptName = propertyText(font, "postscriptName");
    return postscriptName.empty() ? familyName(font) : postscriptName;
}

class ModernCheckResult : public ModernResult {
  public:
    using ModernResult::ModernResult;

    std::vector<Row> tableRows() const override {
        std::vector<Row> rows;
        for (const FontDiagnostic& diagnostic : font().diagnostics()) {
            rows.push_back({
                {severityName(diagnostic.type), markOf(diagnostic.type)},
                {std::to_string(diagnostic.code)},
                {sentence(diagnostic)},
                {fontName(font())},
                {font().sourceFile().string()},
            });
        }
        return rows;
    }

    std::vector<Row> csvRows() const override {
        std::vector<Row> rows;
        for (const FontDiagnostic& diagnostic : font().diagnostics()) {
            const auto& offset = diagnostic.where.offset;
            rows.push_back({
                {font().sourceFile().string()},
                {propertyText(font(), "index")},
                {severityName(diagnostic.type)},
                {std::to_string(diagnostic.code)},
                {diagnostic.where.table},
                {offset ? std::to_string(*offset) : std::string()},
                {diagnostic.text},
                {codeMessage(diagnostic.code).value_or("")},
            });
        }
        return rows;
    }

  private:
    // Many texts only make sense with the table that they are about.
    static std::string sentence(const FontDiagnostic& diagnostic) {
        const std::string text = describe(diagnostic);
        const std::string& table = diagnostic.where.table;
        return table.empty() || text.find(table) != std::string::npos ? text : table + ": " + text;
    }
};

}  // namespace

ResultShape ModernCheck::shape() const {
    return checkShape();
}

std::unique_ptr<Result> ModernCheck::result(const ScanSession::Record& font) {
    return font->diagnostics().empty() ? nullptr : std::make_unique<ModernCheckResult>(font);
}

std::string ModernCheck::summary(const ScanSummary& summary) const {
    std::string text = summary.text();
    if (summary.defects.all() > 0) {
        text += "\noxparser explain CODE tells what a code means";
    }
    return text;
}
