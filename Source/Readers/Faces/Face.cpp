#include "Face.h"

#include <cmath>
#include <cstdio>

#include "Ascii.h"
#include "FindingTable.h"
#include "FoundryRules.h"

namespace {

constexpr int kEntangled = 20003;
constexpr int kFurther = 20006;

struct TextAttribute {
    const char* key;
    const char* property;
    const char* fallback;  // for a record without that property; null: none
};

// Of family and style the typographic ones, so that an import keeps a family together.
constexpr TextAttribute kTextAttributes[] = {
    {eFamilyname, "typographicFamily", "family"},
    {eFullname, "fullName", nullptr},
    {ePostscriptname, "postscriptName", nullptr},
    {eFontVersion, "version", nullptr},
    {eUniqueId, "uniqueId", nullptr},
    {eCopyright, "copyright", nullptr},
    {eTrademark, "trademark", nullptr},
    {eWeight, "weight", nullptr},
    {eWidth, "width", nullptr},
    {eItalic, "italic", nullptr},
    {eMonospace, "monospace", nullptr},
    {eSize, "size", nullptr},
};

std::string numberText(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", number);
    return text;
}

// The text of a property of any simple kind.
std::string asText(const OxPropertyValue& value) {
    if (const std::string* text = value.text()) {
        return *text;
    }
    if (const double* number = value.number()) {
        return numberText(*number);
    }
    const bool* flag = value.flag();
    return flag == nullptr ? std::string() : *flag ? "true" : "false";
}

}  // namespace

Face::Face(FontFaces& faces, FaceContext& context)
    : record_((faces.push_back(new OxFont), faces.back())), context_(context) {
    record_.setAttribute(eFontFilePath, context.file.parent_path().string());
    record_.setAttribute(eFileName, context.file.filename().string());
    if (!context.fingerprint.empty()) {
        record_.setAttribute(eFingerprint, context.fingerprint);
    }
    if (!context.container.empty()) {
        set("container", context.container);
    }
}

void Face::setText(std::string_view name, std::string text) {
    while (!text.empty() && (text.back() == '\0' || ascii::isSpace(text.back()))) {
        text.pop_back();
    }
    if (!text.empty()) {
        set(name, std::move(text));
    }
}

void Face::setDecimal(std::string_view name, double number) {
    const double rounded = std::round(number * 1000) / 1000;
    if (std::isfinite(rounded)) {
        set(name, rounded == 0 ? 0.0 : rounded);  // no negative zero
    }
}

std::string Face::text(std::string_view name) const {
    const OxPropertyValue* value = record_.properties().find(name);
    return value == nullptr || value->text() == nullptr ? std::string() : *value->text();
}

void Face::find(int code, const std::string& detail, FontDiagnosticPlace where) {
    const FindingRow* row = findingRow(code);
    find(row == nullptr ? eError : row->severity, code, detail, std::move(where));
}

void Face::find(FontDiagnosticType severity, int code, const std::string& detail,
                FontDiagnosticPlace where) {
    const std::size_t count = record_.diagnostics().size();
    if (count < kMostFindings) {
        record_.addDiagnostic(severity, code, detail, std::move(where));
    } else if (count == kMostFindings) {
        record_.addDiagnostic(eNote, kFurther);
    }
}

bool Face::spend(std::uint64_t work) {
    if (context_.work.spend(work)) {
        return true;
    }
    if (!toldExhausted_) {
        toldExhausted_ = true;
        find(kEntangled, "");
    }
    return false;
}

void completeAttributes(OxFont& record) {
    const OxProperties& properties = record.properties();
    const auto valueOf = [&properties](const char* name) {
        const OxPropertyValue* value = name == nullptr ? nullptr : properties.find(name);
        return value == nullptr ? std::string() : asText(*value);
    };
    for (const TextAttribute& row : kTextAttributes) {
        std::string text = valueOf(row.property);
        if (text.empty()) {
            text = valueOf(row.fallback);
        }
        if (!text.empty()) {
            record.setAttribute(row.key, text);
        }
    }
    // The two go together: a typographic style belongs to a typographic family only.
    const bool typographic = properties.find("typographicFamily") != nullptr;
    std::string style = valueOf(typographic ? "typographicStyle" : "style");
    if (style.empty()) {
        style = valueOf("style");
    }
    if (!style.empty()) {
        record.setAttribute(eSubFamilyname, style);
    }
    if (const OxPropertyValue* offset = properties.find("offset")) {
        record.setAttribute(eFontOffset, asText(*offset));
    }
    if (properties.find("foundry") == nullptr) {
        const std::string foundry =
            foundryOf(valueOf("manufacturer"), valueOf("vendor"), valueOf("copyright"));
        if (!foundry.empty()) {
            record.setProperty("foundry", foundry);
        }
    }
    // Past setAttribute, which would look the text up again.
    const std::string foundry = valueOf("foundry");
    record.setPrinterFontAttributes({{eFoundry, foundry.empty() ? "Unknown" : foundry}});
}
