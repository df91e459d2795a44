#include "PropertyTexts.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "Utf8.h"

namespace {

using nlohmann::ordered_json;

constexpr double kMostWhole = 9007199254740992.0;  // up to it a double counts every integer

bool isWhole(double number) {
    return std::fabs(number) <= kMostWhole && number == std::floor(number);
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as a reader has nested its values
ordered_json valueJson(const OxPropertyValue& value) {
    if (const std::string* text = value.text()) {
        return toUtf8(*text);
    }
    if (const double* number = value.number()) {
        return isWhole(*number) ? ordered_json(static_cast<std::int64_t>(*number))
                                : ordered_json(*number);
    }
    if (const bool* flag = value.flag()) {
        return *flag;
    }
    if (const OxProperties* object = value.object()) {
        return propertiesJson(*object);
    }
    ordered_json list = ordered_json::array();
    if (const OxPropertyValue::List* elements = value.list()) {
        list.get_ref<ordered_json::array_t&>().reserve(elements->size());
        for (const OxPropertyValue& element : *elements) {
            list.push_back(valueJson(element));
        }
    }
    return list;
}

std::string numberText(double number) {
    char digits[32];
    const auto end = isWhole(number) ? std::to_chars(std::begin(digits), std::end(digits),
                                                     static_cast<std::int64_t>(number))
                                     : std::to_chars(std::begin(digits), std::end(digits), number);
    return {digits, end.ptr};
}

// The escapes that JSON (RFC 8259) asks for, as the library that writes the other members has them.
void appendEscaped(std::string& json, unsigned char c) {
    constexpr std::string_view kControls = "\b\t\n\f\r";
    constexpr std::string_view kLetters = "btnfr";
    json += '\\';
    const std::size_t letter = kControls.find(static_cast<char>(c));
    if (letter != kControls.npos) {
        json += kLetters[letter];
    } else if (c < 0x20) {
        json += "u00";
        json += "01"[c >> 4];
        json += "0123456789abcdef"[c & 0xF];
    } else {
        json += static_cast<char>(c);
    }
}

void appendJson(std::string& json, const std::string& bytes) {
    const std::string text = toUtf8(bytes);
    json += '"';
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == '"' || c == '\\') {
            json.append(text, done, i - done);
            appendEscaped(json, c);
            done = i + 1;
        }
    }
    json.append(text, done);
    json += '"';
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as a reader has nested its values
void appendJson(std::string& json, const OxPropertyValue& value) {
    if (const std::string* text = value.text()) {
        appendJson(json, *text);
    } else if (const OxProperties* object = value.object()) {
        appendJson(json, *object);
    } else if (const OxPropertyValue::List* elements = value.list()) {
        json += '[';
        for (const OxPropertyValue& element : *elements) {
            json += &element == &elements->front() ? "" : ",";
            appendJson(json, element);
        }
        json += ']';
    } else if (const double* number = value.number(); number != nullptr && isWhole(*number)) {
        json += numberText(*number);
    } else {
        json += valueJson(value).dump();
    }
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as a reader has nested its values
std::string valueText(const OxPropertyValue& value) {
    if (const std::string* text = value.text()) {
        return *text;
    }
    if (const double* number = value.number()) {
        return numberText(*number);
    }
    if (const bool* flag = value.flag()) {
        return *flag ? "true" : "false";
    }
    std::string joined;
    if (const OxPropertyValue::List* elements = value.list()) {
        for (const OxPropertyValue& element : *elements) {
            joined += (joined.empty() ? "" : " ") + valueText(element);
        }
    }
    return joined;
}

}  // namespace

// NOLINTNEXTLINE(misc-no-recursion): as deep as a reader has nested its values
ordered_json propertiesJson(const OxProperties& properties) {
    ordered_json object = ordered_json::object();
    for (const auto& [name, value] : properties) {
        object[toUtf8(name)] = valueJson(value);
    }
    return object;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as a reader has nested its values
void appendJson(std::string& json, const OxProperties& properties) {
    json += '{';
    const char* comma = "";
    for (const auto& [name, value] : properties) {
        json += comma;
        appendJson(json, name);
        json += ':';
        appendJson(json, value);
        comma = ",";
    }
    json += '}';
}

std::string propertyText(const OxFont& font, std::string_view name) {
    const OxPropertyValue* value = font.properties().find(name);
    return value == nullptr ? std::string() : valueText(*value);
}
