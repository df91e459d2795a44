#pragma once

#include "OxFont.h"
#include "SfntReading.h"
#include "TtfRecords.h"

// Tables whose fields lie at fixed places: 'head', 'maxp', 'OS/2'. Each is a SfntTable::Reader.

/// Converts the fields in place and judges the magic number (11103).
bool readFontHeader(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font);
/// Keeps the number of glyphs.
bool readMaximumProfile(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font);
/// Converts the fields in place; sets "Weight" and "Width", and "Foundry" from the vendor's code
/// when the font has none.
bool readOS2(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font);
