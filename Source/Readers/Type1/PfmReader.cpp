#include <algorithm>

#include "FindingText.h"
#include "MetricsReader.h"
#include "Partners.h"
#include "PfmFields.h"
#include "PfmRules.h"
#include "StyleFields.h"

namespace {

constexpr int kTooShort = 15000;
constexpr int kOtherSize = 15105;
constexpr int kLastChar = 15102;
constexpr int kNoExtents = 15211;
constexpr int kCutExtents = 20401;
constexpr int kCutPairs = 20402;
constexpr int kOtherPairs = 20403;

constexpr std::uint32_t kSmallest = PfmFields::kHeaderSize + PfmFields::kExtensionSize;
constexpr std::uint32_t kItalicBit = 1;
constexpr std::uint32_t kProportionalBit = 1;
constexpr std::uint64_t kExtentSize = 2;
constexpr std::uint64_t kPairSize = 4;
constexpr std::uint64_t kPairCountSize = 2;

// How many of `count` things of a size lie inside the file, from an offset on.
std::uint64_t countInside(ByteView file, std::uint64_t offset, std::uint64_t count,
                          std::uint64_t size) {
    return std::min(count, file.clamped(offset, file.size()).size() / size);
}

void checkSize(Face& face, const PfmFields& fields) {
    const std::uint64_t stated = fields.valueOf(Pfm::eFileSize);
    if (stated == fields.file().size()) {
        return;
    }
    face.find(stated > fields.file().size() ? eWarning : eNote, kOtherSize,
              std::to_string(stated) + ", should be " + std::to_string(fields.file().size()),
              inFile("dfSize", fields.offsetOf(Pfm::eFileSize)));
}

// The characters from dfFirstChar to dfLastChar; fonts of one width need no table of widths.
void addCharacters(Face& face, const PfmFields& fields) {
    const std::uint32_t first = fields.valueOf(Pfm::eFirstChar);
    const std::uint32_t last = fields.valueOf(Pfm::eLastChar);
    if (last < first) {
        face.find(eError, kLastChar,
                  std::to_string(last) + ", the first is " + std::to_string(first),
                  inFile("dfLastChar", fields.offsetOf(Pfm::eLastChar)));
        return;
    }
    const std::uint64_t count = std::uint64_t{last} - first + 1;
    const std::uint32_t extents = fields.valueOf(Pfm::eExtentTable);
    const bool proportional = (fields.valueOf(Pfm::ePitchAndFamily) & kProportionalBit) != 0;
    if (extents == 0) {
        if (proportional) {
            face.find(eError, kNoExtents, "0",
                      inFile("dfExtentTable", fields.offsetOf(Pfm::eExtentTable)));
        }
        face.set("glyphs", proportional ? 0UL : count);
        return;
    }
    const std::uint64_t met = countInside(fields.file(), extents, count, kExtentSize);
    face.set("glyphs", met);
    if (met < count && extents < fields.file().size()) {
        face.find(kCutExtents, std::to_string(met) + ", should be " + std::to_string(count),
                  inFile("dfExtentTable", extents));
    }
}

void addKerning(Face& face, const PfmFields& fields) {
    const std::uint32_t offset = fields.valueOf(Pfm::ePairKernTable);
    if (offset == 0 || !fields.file().holds(offset, kPairCountSize)) {
        return;
    }
    const std::uint32_t count = fields.file().u16le(offset);
    const std::uint64_t met = countInside(fields.file(), offset + kPairCountSize, count, kPairSize);
    face.set("kerningPairs", met);
    const FontDiagnosticPlace where = inFile("dfPairKernTable", offset);
    if (met < count) {
        face.find(kCutPairs, std::to_string(met) + ", should be " + std::to_string(count), where);
    }
    const std::optional<std::uint32_t> claimed = fields.at(Pfm::eEtmKernPairs);
    if (claimed && *claimed != count) {
        face.find(kOtherPairs,
                  std::to_string(count) + ", etmKernPairs says " + std::to_string(*claimed), where);
    }
}

}  // namespace

void readPfm(ByteView file, FaceContext& context, FontFaces& faces) {
    Face face(faces, context);
    face.set("format", "metrics");
    setContainer(face, "pfm");
    const PfmFields fields(file);
    if (file.size() < kSmallest) {
        face.find(
            eError, kTooShort,
            std::to_string(file.size()) + ", should be at least " + std::to_string(kSmallest));
    }
    setUnstated(face, "family", fields.textAt(Pfm::eFace));
    setUnstated(face, "postscriptName", fields.textAt(Pfm::eDriverInfo));
    setUnstated(face, "copyright", fields.copyright());
    if (const auto weight = fields.at(Pfm::eWeightClass)) {
        face.set("weight", *weight);
    }
    if (const auto italic = fields.at(Pfm::eItalicFlag)) {
        face.set("italic", (*italic & kItalicBit) != 0);
    }
    checkSize(face, fields);
    checkPfmFields(face, fields);
    addCharacters(face, fields);
    addKerning(face, fields);
    addOutline(face, true);
}
