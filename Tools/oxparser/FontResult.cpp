#include "FontResult.h"

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "CodeTexts.h"
#include "Utf8.h"

namespace {

using nlohmann::ordered_json;

// The four characters of a resource type, or its number where one cannot be shown.
std::string resourceTypeText(int type) {
    const auto bits = static_cast<std::uint32_t>(type);
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned byte = (bits >> shift) & 0xFF;
        if (byte < 0x20 || byte > 0x7E) {
            char number[11];
            std::snprintf(number, sizeof number, "0x%08x", bits);
            return number;
        }
        text += static_cast<char>(byte);
    }
    return text;
}

ordered_json resourceJson(int type, int id) {
    return {{"type", resourceTypeText(type)}, {"id", id}};
}

// Only what is known.
ordered_json placeJson(const FontDiagnosticPlace& place) {
    ordered_json object = ordered_json::object();
    if (!place.table.empty()) {
        object["table"] = toUtf8(place.table);
    }
    if (!place.field.empty()) {
        object["field"] = toUtf8(place.field);
    }
    if (place.glyph) {
        object["glyph"] = *place.glyph;
    }
    if (place.resource) {
        object["resource"] =
            resourceJson(static_cast<int>(place.resource->first), place.resource->second);
    }
    if (place.offset) {
        object["offset"] = *place.offset;
    }
    return object;
}

ordered_json diagnosticJson(const FontDiagnostic& diagnostic) {
    const std::optional<std::string> message = codeMessage(diagnostic.code);
    ordered_json object = {{"type", severityName(diagnostic.type)},
                           {"code", diagnostic.code},
                           {"text", toUtf8(diagnostic.text)},
                           {"message", message ? ordered_json(*message) : ordered_json()}};
    if (!diagnostic.where.empty()) {
        object["where"] = placeJson(diagnostic.where);
    }
    return object;
}

std::string hexText(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) & 0xF];
    }
    return text;
}

}  // namespace

DefectCounts countDefects(const OxFont& font) {
    DefectCounts counts;
    for (const FontDiagnostic& diagnostic : font.diagnostics()) {
        ++(diagnostic.type == eError     ? counts.errors
           : diagnostic.type == eWarning ? counts.warnings
                                         : counts.notes);
    }
    return counts;
}

std::string fontTypeText(const OxFont& font) {
    const auto found = OxFont::_fontType.find(font.getFontType());
    return found == OxFont::_fontType.end() ? std::string() : found->second;
}

ordered_json FontResult::firstMembers() const {
    ordered_json attributes = ordered_json::object();
    for (const auto& [key, value] : font().attributes()) {
        attributes[toUtf8(key)] = toUtf8(value);
    }
    const std::string& file = font().sourceFile().native();
    ordered_json object = {{"record", "font"}, {"file", toUtf8(file)}};
    if (!isUtf8(file)) {
        object["fileBytes"] = hexText(file);
    }
    object["fontType"] = font().getFontType();
    object["attributes"] = std::move(attributes);
    return object;
}

ordered_json FontResult::lastMembers() const {
    ordered_json diagnostics = ordered_json::array();
    for (const FontDiagnostic& diagnostic : font().diagnostics()) {
        diagnostics.push_back(diagnosticJson(diagnostic));
    }
    ordered_json printerFonts = ordered_json::array();
    for (const boost::filesystem::path& path : font().printerFontPaths) {
        printerFonts.push_back(toUtf8(path.string()));
    }
    ordered_json resources = ordered_json::array();
    for (const auto& [type, id] : font().resources()) {
        resources.push_back(resourceJson(type, id));
    }
    ordered_json object = ordered_json::object();
    object["diagnostics"] = std::move(diagnostics);
    object["printerFontPaths"] = std::move(printerFonts);
    object["resources"] = std::move(resources);
    return object;
}

ordered_json FontResult::json() const {
    ordered_json object = firstMembers();
    addToJson(object);
    object.update(lastMembers());
    return object;
}

std::string FontResult::jsonText() const {
    std::string text = firstMembers().dump();
    text.back() = ',';
    addToText(text);
    return text.append(lastMembers().dump(), 1);
}
