#pragma once

#include "SfntFont.h"

/// Sets `symbol`, `codepoints`, `coverage` when it is asked for, and `languages` from 'cmap'. Of
/// several subtables the first there is of (3,10), (0,6), (0,4), (3,1), (0,3), (0,2), (0,1) and
/// (0,0) counts, without one (3,0) as it is, or a Macintosh one by its script.
void readCoverage(SfntFont& font);
