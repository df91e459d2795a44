#pragma once

#include <cstdint>

#include "ByteView.h"
#include "Face.h"

/// How large a font may be when it is unpacked: 64 times its file, at least 64 and at most 256 MiB,
/// whatever its header says. WOFF2 also needs that much for the tables before they are put
/// together, and some MiB for its decoder.
inline constexpr std::uint64_t kWoffMostPerByte = 64;
inline constexpr std::uint64_t kWoffLeastLimit = std::uint64_t{64} << 20;
inline constexpr std::uint64_t kWoffMostLimit = std::uint64_t{256} << 20;

/// The faces of a WOFF file (W3C Recommendation WOFF 1.0, December 2012), unpacked into memory and
/// read by readUnpackedSfnt. `context.container` becomes "woff".
///
/// Tables that cannot be unpacked, or whose data end early, are findings on the first face; what
/// could be unpacked of them is read. When that is nothing there is one record with the findings
/// and without a format. Throws nothing but std::bad_alloc.
void readWoff(ByteView file, FaceContext& context, FontFaces& faces);

/// The same of WOFF2 (W3C Recommendation WOFF 2.0, March 2022), collections included; "woff2". Its
/// tables are packed as one, so they can be unpacked together only.
void readWoff2(ByteView file, FaceContext& context, FontFaces& faces);
