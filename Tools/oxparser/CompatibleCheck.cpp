#include "CompatibleCheck.h"

#include "CodeTexts.h"

namespace {

ResultShape checkShape() {
    ResultShape shape;
    shape.table = {
        {"LEVEL", 7, 7, 0, 0},
        {"CODE", 5, 5, 0, 0, Align::eRight},
        {"DEFECT", 40, 76, 3, 0, Align::eLeft, Cut::eMiddle},
        {"FONT", 20, 30, 1, 140},
        {"FILE", 20, 1000, 2, 0, Align::eLeft, Cut::eStart},
    };
    shape.csv = {"file", "fontType", ePostscriptname, "level", "code", "in", "message", "text"};
    return shape;
}

class CompatibleCheckResult : public FontResult {
  public:
    using FontResult::FontResult;

    std::vector<Row> tableRows() const override {
        std::vector<Row> rows;
        for (const FontDiagnostic& diagnostic : font().diagnostics()) {
            rows.push_back({
                {severityName(diagnostic.type), markOf(diagnostic.type)},
                {std::to_string(diagnostic.code)},
                {describe(diagnostic)},
                {font().getAttribute(ePostscriptname)},
                {font().sourceFile().string()},
            });
        }
        return rows;
    }

    std::vector<Row> csvRows() const override {
        std::vector<Row> rows;
        for (const FontDiagnostic& diagnostic : font().diagnostics()) {
            rows.push_back({
                {font().sourceFile().string()},
                {fontTypeText(font())},
                {font().getAttribute(ePostscriptname)},
                {severityName(diagnostic.type)},
                {std::to_string(diagnostic.code)},
                {subjectOf(diagnostic.code)},
                {codeMessage(diagnostic.code).value_or("")},
                {diagnostic.text},
            });
        }
        return rows;
    }
};

}  // namespace

ResultShape CompatibleCheck::shape() const {
    return checkShape();
}

std::unique_ptr<Result> CompatibleCheck::result(const ScanSession::Record& font) {
    return font->diagnostics().empty() ? nullptr : std::make_unique<CompatibleCheckResult>(font);
}
