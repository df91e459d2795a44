#include "Md5.h"

#include <gtest/gtest.h>

#include "Support.h"

namespace {

std::string md5Of(const Bytes& bytes) {
    return md5Hex(ByteView(bytes.data(), bytes.size()));
}

TEST(Md5, AgreesWithThePublishedTestSuite) {
    // RFC 1321, appendix A.5.
    EXPECT_EQ(md5Of(bytesOf("")), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5Of(bytesOf("a")), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5Of(bytesOf("message digest")), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5Of(bytesOf("1234567890123456789012345678901234567890123456789012345678901234567890"
                            "1234567890")),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, PiecesOfAnySizeGiveTheDigestOfTheWhole) {
    Bytes bytes(1000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    for (std::size_t length = 0; length < 200; ++length) {
        const std::string whole = md5Hex(ByteView(bytes.data(), length));
        for (const std::size_t piece : {1u, 3u, 55u, 56u, 63u, 64u, 65u, 127u}) {
            md5_state_t state;
            md5_init(&state);
            for (std::size_t done = 0; done < length; done += piece) {
                md5_append(&state, &bytes[done], std::min(piece, length - done));
            }
            ASSERT_EQ(md5FinishHex(&state), whole) << length << " in pieces of " << piece;
        }
    }
}

TEST(Md5, ComputationsSideBySideDoNotMeet) {
    Bytes bytes(64 * (32 + kMd5Lanes));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * i / 64 + i);
    }
    for (std::size_t count = 1; count <= kMd5Lanes; ++count) {
        std::array<md5_state_t, kMd5Lanes> states;
        std::vector<Md5Piece> pieces;
        for (std::size_t i = 0; i < count; ++i) {
            md5_init(&states[i]);
            pieces.push_back({&states[i], &bytes[64 * i]});
        }
        md5AppendSideBySide(pieces, 30);
        for (std::size_t i = 0; i < count; ++i) {
            md5_append(&states[i], &bytes[64 * (30 + i)], 100);
            EXPECT_EQ(md5FinishHex(&states[i]), md5Hex(ByteView(&bytes[64 * i], 64 * 30 + 100)))
                << i << " of " << count;
        }
    }
}

}  // namespace
