#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "Export.h"

/// The names of the properties that a record can have, in the order in which it keeps them.
OXPARSER_EXPORT std::span<const std::string_view> propertyNames();

/// The place of a name in that order; that behind all of them for any other name.
OXPARSER_EXPORT std::size_t propertyRank(std::string_view name);
