#pragma once

#include "RecordChecks.h"

/// What records may hold, each format by the tables and resources that it reads.
namespace rules {

extern const RecordRules kTrueType;
extern const RecordRules kPlainFile;
extern const RecordRules kMemory;
extern const RecordRules kOpenType;
extern const RecordRules kCollection;
extern const RecordRules kSuitcase;
extern const RecordRules kDfont;
extern const RecordRules kPrinterFont;

}  // namespace rules
