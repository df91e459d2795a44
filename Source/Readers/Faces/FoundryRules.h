#pragma once

#include <string>

/// The foundry that a font's own words name, by the library's two lists: the first listed name in
/// the manufacturer; else the manufacturer; else the registered name of the vendor code, unless it
/// names a tool; else the first listed name in the copyright; else empty.
std::string foundryOf(const std::string& manufacturer, const std::string& vendor,
                      const std::string& copyright);
