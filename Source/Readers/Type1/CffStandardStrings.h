#pragma once

#include <cstddef>
#include <string_view>

/// How many string ids of CFF mean strings that stand in no file.
constexpr std::size_t kCffStandardStrings = 391;

/// The standard string of an id below that (Adobe Technical Note 5176, appendix A).
std::string_view cffStandardString(std::size_t id);
