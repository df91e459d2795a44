#pragma once

#include "SfntFont.h"

/// Sets `kerningPairs`: the pairs of the format 0 subtables of 'kern', whose header is Microsoft's
/// or Apple's; absent without such a subtable.
void readKerning(SfntFont& font);
