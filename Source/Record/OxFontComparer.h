#pragma once

#include "Export.h"
#include "OxFont.h"

/// Tells whether a record describes the same font as a reference record: equal PostScript names
/// and equal font types. Fits the standard search algorithms. Keeps a reference to its record,
/// which must outlive it.
class OXPARSER_EXPORT OxFontComparer {
  public:
    explicit OxFontComparer(const OxFont& reference) : reference_(reference) {}

    bool operator()(const OxFont& other) const;

  private:
    const OxFont& reference_;
};
