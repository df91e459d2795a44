#pragma once

#include "OxFont.h"

/// Writes the record as the program's JSON line, reads the line back and compares: every text must
/// survive, whatever bytes it holds.
void checkJson(const OxFont& font);
