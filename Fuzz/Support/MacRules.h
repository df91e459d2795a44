#pragma once

#include "RecordChecks.h"

/// What records of classic Mac files may hold.
namespace macrules {

extern const RecordRules kSuitcase;
extern const RecordRules kDfont;
extern const RecordRules kPrinterFont;

}  // namespace macrules
