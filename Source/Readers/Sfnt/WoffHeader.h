#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ByteView.h"
#include "Face.h"

/// A part of a WOFF file that its header places.
struct WoffBlock {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t originalLength = 0;  // unpacked; of metadata only
    bool isStated() const { return offset != 0 || length != 0; }
};

/// The header of WOFF and of WOFF2, which differ by one field.
struct WoffHeader {
    static constexpr std::uint64_t kSize1 = 44;
    static constexpr std::uint64_t kSize2 = 48;

    std::uint32_t flavor = 0;
    std::uint32_t length = 0;
    std::uint16_t tables = 0;
    std::uint16_t reserved = 0;
    std::uint32_t totalSfntSize = 0;
    std::uint32_t totalCompressedSize = 0;  // WOFF2 only
    WoffBlock metadata;
    WoffBlock privateData;

    /// Throws ReadPastEnd when the file is shorter than the header.
    static WoffHeader read1(ByteView file);
    static WoffHeader read2(ByteView file);
};

/// What is found in a WOFF file before there is a face to put it on.
class WoffFindings {
  public:
    void add(int code, std::string detail, FontDiagnosticPlace where = {});
    bool empty() const { return findings_.empty(); }
    /// Puts them on the face at `index`.
    void giveTo(FontFaces& faces, std::size_t index) const;

  private:
    struct Finding {
        int code;
        std::string detail;
        FontDiagnosticPlace where;
    };

    static constexpr std::size_t kMost = 100;

    std::vector<Finding> findings_;
    bool further_ = false;
};

/// Findings about the header itself and about where the blocks behind the tables lie. `tablesEnd`:
/// where these have to begin.
void checkWoffLayout(ByteView file, const WoffHeader& header, std::uint64_t tablesEnd,
                     WoffFindings& findings);

/// How large a font from a file of this size may become.
std::uint64_t woffLimit(std::uint64_t fileSize);

constexpr std::uint64_t woffPadded(std::uint64_t size) {
    return (size + 3) / 4 * 4;
}

/// One record that has no format, for a file that nothing comes out of.
void addUnreadableWoff(FaceContext& context, FontFaces& faces, const WoffFindings& findings);

/// The findings' codes.
namespace woff {
inline constexpr int kHeader = 20200;
inline constexpr int kLength = 20201;
inline constexpr int kSfntSize = 20202;
inline constexpr int kOrder = 20203;
inline constexpr int kLayout = 20204;
inline constexpr int kTable = 20205;
inline constexpr int kTables = 20206;
inline constexpr int kTooLarge = 20207;
inline constexpr int kMetadata = 20208;
inline constexpr int kReserved = 20209;
}  // namespace woff
