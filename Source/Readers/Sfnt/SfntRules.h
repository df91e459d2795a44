#pragma once

#include <cstdint>
#include <optional>

#include "SfntFont.h"

/// Holds a font to what a sound one has: the tables that its outlines need, their sums, fields in
/// their ranges. What does not hold becomes a finding.
void checkRules(SfntFont& font);

/// A table's sum, 'head' and 'bhed' with their adjustment taken as zero: that of the two ways to
/// fill the last word which agrees with the stored sum, else the one with zeros. Nothing when the
/// work for it is spent.
std::optional<std::uint32_t> computedSum(SfntFont& font, const FontTable& table);
