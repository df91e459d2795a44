#pragma once

#include "OxFont.h"
#include "Result.h"

/// What the modern reading says of a face in a word: the worst of its findings.
enum class FontState { eOk, eNote, eWarning, eBroken, eNoFont };

/// "no font": the record of a file that only its name makes one.
FontState stateOf(const OxFont& font);

/// "ok", "note", "warning", "broken" or "no font".
const char* stateName(FontState state);
Mark markOf(FontState state);
