#pragma once

#include "OxFont.h"
#include "SfntReading.h"
#include "TtfRecords.h"

/// Checks the subtables of the 'kern' table, whose header fields it converts in place. A
/// SfntTable::Reader.
bool readKerning(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font);
