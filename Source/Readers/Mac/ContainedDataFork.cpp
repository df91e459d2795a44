#include "ContainedDataFork.h"

#include <optional>
#include <utility>

#include "AppleDouble.h"
#include "Ascii.h"
#include "BinHex.h"
#include "MacBinary.h"
#include "MacFileLook.h"
#include "ResourceFile.h"

namespace {

constexpr std::uint64_t kUnpackLimit = std::uint64_t{64} << 20;
constexpr std::size_t kResourceHeader = 16;

bool isAppleSingle(const FileInHand& file) {
    return appledouble::hasMagic(file.start) && file.start.u32be(0) == appledouble::kSingleMagic;
}

std::optional<macbinary::Layout> macBinaryLayout(const FileInHand& file) {
    return file.start.size() < macbinary::kHeaderSize
               ? std::nullopt
               : macbinary::readHeader(file.start.clamped(0, macbinary::kHeaderSize), file.size);
}

std::optional<std::size_t> binHexText(const FileInHand& file) {
    const bool isNamed = ascii::toLower(file.file.extension().string()) == ".hqx";
    return binhex::findText(file.start.clamped(
        0, isNamed ? binhex::kLineWithinNamed : binhex::kLineWithin + std::size_t{64}));
}

ContainedFork part(ByteView whole, std::uint64_t offset, std::uint64_t length) {
    ContainedFork fork;
    fork.bytes = whole.clamped(offset, length);
    fork.isDamaged = fork.bytes.size() != length;
    return fork;
}

ContainedFork fromAppleSingle(ByteView whole) {
    const auto layout =
        appledouble::readHeader(whole, whole.size(), appledouble::Strictness::eStrict);
    return layout && layout->dataFork
               ? part(whole, layout->dataFork->offset, layout->dataFork->length)
               : ContainedFork();
}

// A header that only looks like one is believed when the other fork is in its place.
bool isBelieved(const macbinary::Layout& layout, ByteView whole) {
    return layout.strong ||
           isPlausibleResourceHeader(whole.clamped(layout.forkOffset, kResourceHeader),
                                     layout.forkLength);
}

ContainedFork fromBinHex(ByteView text) {
    const auto header = binhex::readHeader(text.clamped(0, binhex::kHeaderText));
    if (!header || header->dataLength == 0 || header->dataLength > kUnpackLimit) {
        return {};
    }
    bool given = false;
    auto unpacked = binhex::decodeDataFork(
        [&] { return std::exchange(given, true) ? ByteView() : text; }, kUnpackLimit);
    ContainedFork fork;
    fork.isDamaged = !unpacked;
    if (unpacked) {
        fork.owned = std::make_shared<std::vector<std::uint8_t>>(std::move(*unpacked));
        fork.bytes = ByteView(*fork.owned);
    }
    return fork;
}

}  // namespace

bool isForkContainer(const FileInHand& file) {
    return isAppleSingle(file) || macBinaryLayout(file) || binHexText(file);
}

ContainedFork containedDataFork(const FileInHand& file) {
    if (isAppleSingle(file)) {
        return fromAppleSingle(file.whole());
    }
    if (const auto layout = macBinaryLayout(file); layout && layout->dataLength != 0) {
        const ByteView whole = file.whole();
        if (isBelieved(*layout, whole)) {
            return part(whole, layout->dataOffset, layout->dataLength);
        }
    }
    if (const auto text = binHexText(file)) {
        const ByteView whole = file.whole();
        return *text <= whole.size() ? fromBinHex(whole.from(*text)) : ContainedFork();
    }
    return {};
}
