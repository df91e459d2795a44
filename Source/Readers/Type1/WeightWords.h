#pragma once

#include <optional>
#include <string_view>

/// The weight, from 100 to 900, that a /Weight or an AFM's Weight names, whatever the case; nothing
/// for other words.
std::optional<int> weightOf(std::string_view word);
