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

std::string propertyText(const OxFont& font, std::string_view name) {
    const OxPropertyValue* value = font.properties().find(name);
    return value == nullptr ? std::string() : valueText(*value);
}
