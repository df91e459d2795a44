#pragma once

#include "OxFont.h"
#include "SfntReading.h"
#include "TtfRecords.h"

/// Appends the names of a CFF table's Name INDEX to the reading's font names. A SfntTable::Reader.
bool readNameIndex(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font);
