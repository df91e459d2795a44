#pragma once

#include "RecordChecks.h"

/// What records of the sfnt family may hold, each format by the tables that it reads.
namespace sfntrules {

extern const RecordRules kTrueType;
extern const RecordRules kPlainFile;
extern const RecordRules kMemory;
extern const RecordRules kOpenType;
extern const RecordRules kCollection;

}  // namespace sfntrules
