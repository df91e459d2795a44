#include "ByteView.h"

#include "UnitTest.h"

namespace {

// 81 82 … 88: each byte tells its place, and all numbers are negative when they are signed.
constexpr std::uint8_t kBytes[] = {0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88};
const ByteView kView{kBytes};
constexpr std::uint64_t kHuge = ~std::uint64_t{0};

std::string hex(ByteView bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text += "0123456789ABCDEF"[bytes.u8(i) % 16];
    }
    return text;
}

// One row for each way to look: what it gives at `good`, and the first offset that is refused.
TEST(ByteView, EveryReadKnowsItsOrderAndItsEnd) {
    using Read = std::int64_t (*)(std::uint64_t);
    const struct {
        const char* name;
        Read read;
        std::int64_t atOne;
        std::uint64_t firstOutside;
    } kReads[] = {
        {"u8", [](auto at) -> std::int64_t { return kView.u8(at); }, 0x82, 8},
        {"u16be", [](auto at) -> std::int64_t { return kView.u16be(at); }, 0x8283, 7},
        {"s16be", [](auto at) -> std::int64_t { return kView.s16be(at); }, 0x8283 - 0x10000, 7},
        {"u16le", [](auto at) -> std::int64_t { return kView.u16le(at); }, 0x8382, 7},
        {"u24be", [](auto at) -> std::int64_t { return kView.u24be(at); }, 0x828384, 6},
        {"u32be", [](auto at) -> std::int64_t { return kView.u32be(at); }, 0x82838485, 5},
        {"s32be", [](auto at) -> std::int64_t { return kView.s32be(at); }, 0x82838485 - 0x100000000,
         5},
        {"u32le", [](auto at) -> std::int64_t { return kView.u32le(at); }, 0x85848382, 5},
        {"slice", [](auto at) -> std::int64_t { return kView.slice(at, 1, 3).u8(2); }, 0x84, 6},
        {"from", [](auto at) -> std::int64_t { return std::int64_t(kView.from(at).size()); }, 7, 9},
    };
    for (const auto& row : kReads) {
        EXPECT_EQ(row.read(1), row.atOne) << row.name;
        EXPECT_NO_THROW(row.read(row.firstOutside - 1)) << row.name;
        for (const std::uint64_t outside : {row.firstOutside, std::uint64_t{1} << 32, kHuge}) {
            EXPECT_THROW(row.read(outside), ReadPastEnd) << row.name << " " << outside;
        }
    }
    // Counts and sizes whose product or sum does not fit into 32 or 64 bits.
    EXPECT_THROW(kView.slice(0, 0x80000000, 2), ReadPastEnd);
    EXPECT_THROW(kView.slice(kHuge, 1), ReadPastEnd);
    EXPECT_FALSE(kView.holds(1, kHuge));
}

TEST(ByteView, ClampedPartsAndPaddedReadsEndWithTheBytes) {
    const struct {
        std::uint64_t offset;
        std::uint64_t count;
        const char* clamped;
    } kParts[] = {
        {0, 8, "12345678"}, {6, 3, "78"}, {7, kHuge, "8"}, {8, 1, ""}, {kHuge, kHuge, ""}};
    for (const auto& part : kParts) {
        EXPECT_EQ(hex(kView.clamped(part.offset, part.count)), part.clamped) << part.offset;
    }
    const ZeroPaddedView padded(kView);
    EXPECT_EQ(padded.u32be(6), 0x87880000u);
    EXPECT_EQ(padded.u16be(8), 0u);
    EXPECT_EQ(padded.u8(kHuge), 0u);
    EXPECT_EQ(padded.from(7).u16be(0), 0x8800u);
    EXPECT_EQ(padded.pascalString(5).size(), 2u);  // of the 0x86 that its length promises
}

TEST(ByteView, ReversingTwiceRestoresAndNeverLeavesTheView) {
    std::uint8_t bytes[] = {1, 2, 3, 4, 5};
    MutableByteView view(bytes, 4);
    view.reverse(1, 3);
    EXPECT_EQ(hex(view.view()), "1432");
    view.reverse(1, 3);
    EXPECT_EQ(hex(view.view()), "1234");
    EXPECT_THROW(view.reverse(2, 3), ReadPastEnd);
    EXPECT_EQ(hex(ByteView(bytes)), "12345");
}

TEST(ByteView, AFailedReadSaysWhatWasRead) {
    try {
        kView.u32be(6, "table tag");
        FAIL();
    } catch (const ReadPastEnd& error) {
        EXPECT_STREQ(error.what(), "read past the end of the font data");
        EXPECT_STREQ(error.field(), "table tag");
        EXPECT_EQ(error.offset(), 6u);
        EXPECT_EQ(error.count(), 4u);
    }
}

}  // namespace
