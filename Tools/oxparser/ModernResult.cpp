#include "ModernResult.h"

#include <nlohmann/json.hpp>

#include "PropertyTexts.h"

void ModernResult::addToJson(nlohmann::ordered_json& object) const {
    object["properties"] = propertiesJson(font().properties());
}

void ModernResult::addToText(std::string& json) const {
    json += "\"properties\":";
    appendJson(json, font().properties());
    json += ',';
}

std::string familyName(const OxFont& font) {
    for (const char* name : {"typographicFamily", "family", "fullName", "postscriptName"}) {
        if (std::string text = propertyText(font, name); !text.empty()) {
            return text;
        }
    }
    return {};
}
