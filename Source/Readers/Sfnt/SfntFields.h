#pragma once

#include "SfntFont.h"

/// The fields at fixed places that are read or tested (OpenType: head, hhea, maxp, OS/2, post).
namespace fields {

inline constexpr SfntTag kHead = fourCharCode("head");
inline constexpr SfntTag kHhea = fourCharCode("hhea");
inline constexpr SfntTag kMaxp = fourCharCode("maxp");
inline constexpr SfntTag kOs2 = fourCharCode("OS/2");
inline constexpr SfntTag kPost = fourCharCode("post");

inline constexpr SfntField kRevision = {kHead, "fontRevision", 4, SfntField::eFixed};
inline constexpr SfntField kAdjustment = {kHead, "checksumAdjustment", 8, SfntField::eU32};
inline constexpr SfntField kMagic = {kHead, "magicNumber", 12, SfntField::eU32};
inline constexpr SfntField kUnitsPerEm = {kHead, "unitsPerEm", 18, SfntField::eU16};
inline constexpr SfntField kCreated = {kHead, "created", 20, SfntField::eDate};
inline constexpr SfntField kModified = {kHead, "modified", 28, SfntField::eDate};
inline constexpr SfntField kMacStyle = {kHead, "macStyle", 44, SfntField::eU16};
inline constexpr SfntField kLocaFormat = {kHead, "indexToLocFormat", 50, SfntField::eS16};

inline constexpr SfntField kAscender = {kHhea, "ascender", 4, SfntField::eS16};
inline constexpr SfntField kDescender = {kHhea, "descender", 6, SfntField::eS16};
inline constexpr SfntField kLineGap = {kHhea, "lineGap", 8, SfntField::eS16};
inline constexpr SfntField kMetricCount = {kHhea, "numberOfHMetrics", 34, SfntField::eU16};

inline constexpr SfntField kNumGlyphs = {kMaxp, "numGlyphs", 4, SfntField::eU16};

inline constexpr SfntField kOs2Version = {kOs2, "version", 0, SfntField::eU16};
inline constexpr SfntField kWeight = {kOs2, "usWeightClass", 4, SfntField::eU16};
inline constexpr SfntField kWidth = {kOs2, "usWidthClass", 6, SfntField::eU16};
inline constexpr SfntField kFsType = {kOs2, "fsType", 8, SfntField::eU16};
inline constexpr SfntField kVendor = {kOs2, "achVendID", 58, SfntField::eU32};
inline constexpr SfntField kSelection = {kOs2, "fsSelection", 62, SfntField::eU16};
inline constexpr SfntField kXHeight = {kOs2, "sxHeight", 86, SfntField::eS16};
inline constexpr SfntField kCapHeight = {kOs2, "sCapHeight", 88, SfntField::eS16};

inline constexpr SfntField kItalicAngle = {kPost, "italicAngle", 4, SfntField::eFixed};
inline constexpr SfntField kFixedPitch = {kPost, "isFixedPitch", 12, SfntField::eU32};

}  // namespace fields
