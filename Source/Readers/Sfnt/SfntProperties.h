#pragma once

#include "SfntFont.h"

/// Sets the properties that are fields of 'head', 'hhea', 'maxp', 'OS/2' and 'post', or the
/// presence of a table, by where they stand in the order of properties.
void readStyle(SfntFont& font);
void readMeasures(SfntFont& font);
/// `tables`, with computed sums.
void listTables(SfntFont& font);
