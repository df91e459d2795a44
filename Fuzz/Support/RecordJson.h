#pragma once

#include <cstddef>

#include "OxFont.h"

/// Hostile fonts can have hundreds of thousands of diagnostics, all made alike: records with more
/// than these are not written out.
constexpr std::size_t kMostDiagnosticsInJson = 1000;

/// Writes the record as the program's JSON line, reads the line back and compares: every text must
/// survive, whatever bytes it holds.
void checkJson(const OxFont& font);
