#include "PfmFields.h"

#include <iterator>

#include "CString.h"

namespace {

constexpr std::uint32_t kExtension = PfmFields::kHeaderSize;
constexpr std::uint32_t kCopyright = 6;
constexpr std::uint32_t kCopyrightSize = 60;

constexpr PfmField kFields[] = {
    {"dfVersion", 0, 2},
    {"dfSize", 2, 4},
    {"dfType", 66, 2},
    {"dfVertRes", 70, 2},
    {"dfHorizRes", 72, 2},
    {"dfItalic", 80, 1},
    {"dfWeight", 83, 2},
    {"dfPitchAndFamily", 90, 1},
    {"dfFirstChar", 95, 1},
    {"dfLastChar", 96, 1},
    {"dfWidthBytes", 99, 2},
    {"dfDevice", 101, 4},
    {"dfFace", 105, 4},
    {"dfSizeFields", kExtension, 2},
    {"dfExtMetricsOffset", kExtension + 2, 4},
    {"dfExtentTable", kExtension + 6, 4},
    {"dfOriginTable", kExtension + 10, 4},
    {"dfPairKernTable", kExtension + 14, 4},
    {"dfTrackKernTable", kExtension + 18, 4},
    {"dfDriverInfo", kExtension + 22, 4},
    {"dfReserved", kExtension + 26, 4},
    {"etmSize", 0, 2},
    {"etmPointSize", 2, 2},
    {"etmOrientation", 4, 2},
    {"etmMasterHeight", 6, 2},
    {"etmMinScale", 8, 2},
    {"etmMaxScale", 10, 2},
    {"etmMasterUnits", 12, 2},
    {"etmKernPairs", 48, 2},
    {"etmKernTracks", 50, 2},
};
static_assert(std::size(kFields) == static_cast<std::size_t>(Pfm::eCount));

}  // namespace

PfmFields::PfmFields(ByteView file) : file_(file) {
    read(Pfm::eVersion, Pfm::eEtmSize);
    if (valueOf(Pfm::eExtMetricsOffset) != 0) {
        read(Pfm::eEtmSize, Pfm::eCount);
    }
}

const PfmField& PfmFields::layout(Pfm field) {
    return kFields[index(field)];
}

std::uint64_t PfmFields::offsetOf(Pfm field) const {
    const std::uint64_t part = field < Pfm::eEtmSize ? 0 : valueOf(Pfm::eExtMetricsOffset);
    return part + layout(field).offset;
}

void PfmFields::read(Pfm first, Pfm last) {
    for (std::size_t i = index(first); i < index(last); ++i) {
        const auto field = static_cast<Pfm>(i);
        const std::uint64_t offset = offsetOf(field);
        const unsigned width = kFields[i].width;
        if (file_.holds(offset, width)) {
            values_[i] = width == 1   ? file_.u8(offset)
                         : width == 2 ? file_.u16le(offset)
                                      : file_.u32le(offset);
        }
    }
}

std::string_view PfmFields::textAt(Pfm field) const {
    const std::uint32_t offset = valueOf(field);
    return offset == 0 ? std::string_view() : upToZero(file_.clamped(offset, file_.size()).text());
}

std::string_view PfmFields::copyright() const {
    return upToZero(file_.clamped(kCopyright, kCopyrightSize).text());
}
