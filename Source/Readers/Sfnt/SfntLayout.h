#pragma once

#include "SfntFont.h"

/// Sets `scripts` and `features`: the tags of the script and feature lists of 'GSUB' and 'GPOS',
/// sorted, once each; both absent without these tables.
void readLayout(SfntFont& font);
