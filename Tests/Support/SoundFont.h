#pragma once

#include <vector>

#include "BigEndian.h"
#include "SfntBuilder.h"

/// A segment of a character map's subtable of format 4.
struct Segment {
    unsigned first, last, delta;
};
BigEndian format4(const std::vector<Segment>& segments);

/// A subtable and what it encodes.
struct Encoded {
    unsigned platform, encoding;
    Bytes subtable;
};
BigEndian cmap(const std::vector<Encoded>& subtables);

/// A font without any fault, not only without those that the compatible parsers look for: four
/// glyphs, of which A to C have characters.
SfntBuilder soundFont();

/// Its file, with the sum of 'head' and the adjustment as they should be.
Bytes adjusted(const SfntBuilder& builder);
