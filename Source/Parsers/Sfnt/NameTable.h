#pragma once

#include <string>

#include "OxFont.h"
#include "SfntReading.h"
#include "TtfRecords.h"

/// Reads the 'name' table of an sfnt font: the names of ids 0 to 7, in English, become attributes;
/// of several records of one id that count, the last. A SfntTable::Reader.
bool readNames(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font);

/// The text of a name record; `storage` is the start of the string storage. Bounded by the image
/// where it lies inside; elsewhere the caller answers for the memory.
std::string nameTableString(const SfntImage& image, const ttf::tagNameRecord& record,
                            const unsigned char* storage);
