#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "OxFont.h"

/// All properties in their order; lists and objects as such. Whole numbers have no decimals, others
/// the digits that tell them from their neighbours.
nlohmann::ordered_json propertiesJson(const OxProperties& properties);
/// Appends the same as text.
void appendJson(std::string& json, const OxProperties& properties);

/// A property as one text: numbers in decimal, "true" or "false", lists parted by blanks. Empty
/// when the record has none of that name, and for an object.
std::string propertyText(const OxFont& font, std::string_view name);
