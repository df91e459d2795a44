#include "ExplainCommand.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "CodeTexts.h"
#include "ErrorCatalogue.h"
#include "ExitStatus.h"
#include "FindingTable.h"
#include "ResultWriter.h"
#include "UsageError.h"

namespace {

// In the table, what the catalogue does not hold stands in square brackets.
class Explanation : public Result {
  public:
    explicit Explanation(const ErrorTableEntry& entry)
        : code_(entry.code), text_(entry.message), inCatalogue_(true) {}
    explicit Explanation(const FindingRow& row)
        : code_(row.code), text_(row.message), inCatalogue_(true) {}
    explicit Explanation(const UncataloguedCode& code)
        : code_(code.code), text_(code.meaning), inCatalogue_(false) {}

    nlohmann::ordered_json json() const override {
        using Json = nlohmann::ordered_json;
        return {{"record", "explanation"},
                {"code", code_},
                {"in", subjectOf(code_)},
                {"message", inCatalogue_ ? Json(text_) : Json()},
                {"remark", inCatalogue_ ? Json() : Json(text_)}};
    }

    std::vector<Row> tableRows() const override {
        const std::string text = inCatalogue_ ? text_ : "[" + std::string(text_) + "]";
        return {{{std::to_string(code_)}, {subjectOf(code_)}, {text}}};
    }

    std::vector<Row> csvRows() const override {
        return {{{std::to_string(code_)},
                 {subjectOf(code_)},
                 {inCatalogue_ ? text_ : ""},
                 {inCatalogue_ ? "" : text_}}};
    }

  private:
    int code_;
    const char* text_;
    bool inCatalogue_;
};

ResultShape explainShape() {
    return {{{"CODE", 5, 5, 0, 0, Align::eRight},
             {"IN", 16, 16, 0, 0},
             {"MESSAGE", 20, 1000, 1, 0, Align::eLeft, Cut::eNever}},
            {"code", "in", "message", "remark"}};
}

int codeFrom(const std::string& text) {
    int code = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        throw UsageError("CODE: '" + text + "' is not a number");
    }
    return code;
}

}  // namespace

int runExplain(const Options& options, Output& output, Console& console) {
    std::vector<int> codes;
    std::transform(options.arguments.begin(), options.arguments.end(), std::back_inserter(codes),
                   codeFrom);
    const std::unique_ptr<ResultWriter> writer =
        makeResultWriter(options.format, explainShape(), output);
    writer->begin();
    // Writes what is known about one code, or about all without one.
    const auto explain = [&writer](const int* code) {
        bool known = false;
        const auto consider = [&](const auto& row) {
            if (code == nullptr || row.code == *code) {
                writer->write(Explanation(row));
                known = true;
            }
        };
        for (const ErrorTableEntry* entry = errorTable; entry->message != nullptr; ++entry) {
            consider(*entry);
        }
        std::ranges::for_each(findingTable(), consider);
        std::ranges::for_each(uncataloguedCodes(), consider);
        return known;
    };
    if (codes.empty()) {
        explain(nullptr);
    }
    for (const int code : codes) {
        if (!explain(&code)) {
            console.complain("unknown code " + std::to_string(code));
        }
    }
    return console.complaints() > 0 ? eFailed : eDone;
}
