#include "BinHex.h"

#include "Check.h"
#include "FuzzTarget.h"
#include "InputParts.h"

namespace {

std::optional<std::vector<std::uint8_t>> decode(ByteView text, std::size_t piece,
                                                std::uint64_t limit) {
    InputParts parts(text);
    return binhex::decodeFork([&] { return parts.take(piece); }, limit);
}

// The size of the pieces, then the file. Runs of 255 equal bytes take 4 characters at the least.
void run(ByteView input) {
    InputParts parts(input);
    const std::size_t piece = 1 + std::size_t{parts.u8()};
    const ByteView file = parts.rest();
    const auto start = binhex::findText(file);
    if (!start) {
        return;
    }
    const ByteView text = file.from(*start);
    const auto header = binhex::readHeader(text);
    constexpr std::uint64_t kNoLimit = ~std::uint64_t{0} >> 1;
    const auto fork = decode(text, piece, kNoLimit);
    check(fork == decode(text, text.size(), kNoLimit), "the pieces do not show");
    check(header || !fork, "no fork without a header");
    if (fork) {
        check(fork->size() == header->forkLength, "the fork's length");
        check(fork->size() <= 255 * text.size(), "a fork in proportion to its text");
        check(decode(text, piece, fork->size()) == fork, "a fork of the limit's length");
        check(fork->empty() || !decode(text, piece, fork->size() - 1), "no longer fork");
    }
}

const FuzzTarget target("BinHex", run);

}  // namespace
