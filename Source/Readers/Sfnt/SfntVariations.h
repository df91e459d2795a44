#pragma once

#include "SfntFont.h"
#include "SfntNames.h"

/// Sets `axes` and `instances` from 'fvar', their names through 'name'.
void readVariations(SfntFont& font, SfntNames& names);
