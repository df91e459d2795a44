#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "ByteView.h"

/// A field of a PFM file: where it lies and how wide it is.
struct PfmField {
    const char* name;      // as the Device Development Kit names it
    std::uint32_t offset;  // from the start of its part
    unsigned width;        // in bytes
};

/// The fields that are looked at, part after part.
enum class Pfm {
    // PFMHEADER
    eVersion,
    eFileSize,
    eTypeBits,
    eVertRes,
    eHorizRes,
    eItalicFlag,
    eWeightClass,
    ePitchAndFamily,
    eFirstChar,
    eLastChar,
    eWidthBytes,
    eDevice,
    eFace,
    // PFMEXTENSION, right behind it
    eSizeFields,
    eExtMetricsOffset,
    eExtentTable,
    eOriginTable,
    ePairKernTable,
    eTrackKernTable,
    eDriverInfo,
    eReserved,
    // EXTTEXTMETRIC, where the extension says
    eEtmSize,
    eEtmPointSize,
    eEtmOrientation,
    eEtmMasterHeight,
    eEtmMinScale,
    eEtmMaxScale,
    eEtmMasterUnits,
    eEtmKernPairs,
    eEtmKernTracks,
    eCount
};

/// The values of a PFM file (Microsoft Windows Device Development Kit, Printer Font Metrics; Adobe
/// Technical Note 5178), little-endian. What lies past the end of the file has no value.
class PfmFields {
  public:
    static constexpr std::uint32_t kHeaderSize = 117;
    static constexpr std::uint32_t kExtensionSize = 30;
    static constexpr std::uint32_t kMetricsSize = 52;

    explicit PfmFields(ByteView file);

    ByteView file() const { return file_; }
    std::optional<std::uint32_t> at(Pfm field) const { return values_[index(field)]; }
    /// 0 for what is not there.
    std::uint32_t valueOf(Pfm field) const { return at(field).value_or(0); }
    static const PfmField& layout(Pfm field);
    /// In the file; of a field of the metrics that of the metrics' place.
    std::uint64_t offsetOf(Pfm field) const;
    /// The zero-terminated text at an offset that a field gives; empty without one.
    std::string_view textAt(Pfm field) const;
    /// dfCopyright, an array of 60 bytes.
    std::string_view copyright() const;

  private:
    static std::size_t index(Pfm field) { return static_cast<std::size_t>(field); }
    void read(Pfm first, Pfm last);

    ByteView file_;
    std::array<std::optional<std::uint32_t>, static_cast<std::size_t>(Pfm::eCount)> values_;
};
