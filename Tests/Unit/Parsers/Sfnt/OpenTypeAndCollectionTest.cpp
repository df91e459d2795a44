#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "BigEndian.h"
#include "LogRecorder.h"
#include "OxParserOpenTypeImp.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "SfntBuilder.h"
#include "SfntTables.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Lines = std::vector<std::string>;
using FontList = std::unique_ptr<boost::ptr_vector<OxFont>>;

class OpenType : public testing::Test {
  protected:
    OxFont parse(const SfntBuilder& font) {
        const FontList fonts(parser.parseFontFile(folder.write("Acme.otf", font.build())));
        EXPECT_EQ(fonts->size(), 1u);
        return OxFont(fonts->front());
    }
    static SfntBuilder otto() { return SfntBuilder::goodFont().version(fourCharCode("OTTO")); }

    TemporaryFolder folder;
    OxParserOpenTypeImp parser{0};
};

TEST_F(OpenType, VersionsAndTypes) {
    EXPECT_TRUE(parser.inspectFont("a.OTF"));
    EXPECT_FALSE(parser.inspectFont("a.ttf"));

    const OxFont font = parse(otto().table("DSIG", Bytes(8)));
    EXPECT_THAT(diagnosticLines(font), IsEmpty());
    EXPECT_EQ(font.getAttribute(ePlatform), "Open Type");
    EXPECT_EQ(font.getFontType(), OxFont::OTPS);
    EXPECT_EQ(font.getAttribute(eFoundry), "Unknown");

    EXPECT_EQ(parse(SfntBuilder::goodFont()).getAttribute(ePlatform), "MacOrWindows");
    for (const char* tag : {"true", "typ1"}) {
        const std::uint32_t version =
            tag == std::string("true") ? fourCharCode("true") : fourCharCode("typ1");
        const OxFont other = parse(SfntBuilder::goodFont().version(version));
        EXPECT_THAT(diagnosticLines(other), ElementsAre("error -1003"));
        EXPECT_EQ(other.getFontType(), OxFont::notSure);
    }
}

TEST_F(OpenType, WithoutTablesOrWithTooManyThereIsNoType) {
    EXPECT_EQ(parse(otto().tableCount(0)).getFontType(), OxFont::notSure);
    EXPECT_THAT(diagnosticLines(parse(otto().tableCount(37))), ElementsAre("error 11001"));
    EXPECT_EQ(parse(otto().tableCount(37)).getFontType(), OxFont::notSure);
    // A directory that goes past the end keeps the steps after the walk.
    SfntBuilder font;
    font.version(fourCharCode("OTTO")).tableCount(5).table("zzzz", Bytes(20));
    EXPECT_EQ(parse(font).getFontType(), OxFont::OTPS);
}

TEST_F(OpenType, KernIsReadAndARealCffTableIsNot) {
    const SfntBuilder damaged = otto().table("kern", BigEndian().u32(0)).table("CFF ", Bytes(3));
    EXPECT_THAT(diagnosticLines(parse(damaged)),
                ElementsAre("warning 11802 Invalid kerning subtable"));
    EXPECT_THAT(parser.fontNames(), IsEmpty());
}

TEST_F(OpenType, TheNameIndexReaderKeepsItsArithmetic) {
    const std::string tag("\0cff", 4);
    const auto index = [&](int offsetSize) {
        BigEndian table;
        table.u8(1).u8(0).u8(4).u8(1).u16(2).u8(static_cast<std::uint32_t>(offsetSize));
        for (const std::uint32_t offset : {1u, 4u, 7u}) {
            if (offsetSize == 1) {
                table.u8(offset);
            } else if (offsetSize == 2) {
                table.u16(offset);
            } else {
                table.u32(offset);
            }
        }
        return otto().table(tag, table.text("OneTwo").zeros(2));
    };
    EXPECT_THAT(diagnosticLines(parse(index(1))), IsEmpty());
    EXPECT_THAT(parser.fontNames(), ElementsAre("OneT", "Two"))
        << "each name brings the byte behind it";
    // With wider offsets the texts are taken from inside the (converted) offset array.
    EXPECT_THAT(diagnosticLines(parse(index(2))), IsEmpty());
    EXPECT_THAT(parser.fontNames(), ElementsAre("", "OneT"));
    EXPECT_THAT(diagnosticLines(parse(otto().table(tag, BigEndian().u8(1).u8(0).u8(200).u8(1)))),
                ElementsAre("error 0 read past the end of the font data", "error 11050"));
    // Offsets that step back by one name no bytes: nothing is read, wherever they point.
    const auto backwards = [&](std::uint32_t first, std::uint32_t second) {
        BigEndian table;
        table.u8(1).u8(0).u8(4).u8(4).u16(1).u8(4).u32(first).u32(second);
        return otto().table(tag, table);
    };
    EXPECT_THAT(diagnosticLines(parse(backwards(0x01000000, 0x00FFFFFF))), IsEmpty());
    EXPECT_THAT(diagnosticLines(parse(backwards(0x01000000, 0x01000000))),
                ElementsAre("error 0 read past the end of the font data", "error 11050"));
    OxFont font;
    EXPECT_FALSE(parser.parseCompactFontFormatTable(nullptr, font));
}

class Collection : public testing::Test {
  protected:
    FontList parse(const Bytes& bytes) {
        return FontList(parser.parseFontFile(folder.write("Acme.ttc", bytes)));
    }

    TemporaryFolder folder;
    OxParserTrueTypeCollectionImp parser{0};
};

TEST_F(Collection, EachMemberIsARecordInTheOrderOfTheOffsets) {
    EXPECT_TRUE(parser.inspectFont("a.TTC"));
    SfntBuilder second = SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({0}));
    second.table("DSIG", Bytes(8));
    const Bytes bytes = SfntBuilder::collection(
        {SfntBuilder::goodFont(), second, SfntBuilder::goodFont().patch("head.magicNumber", 7)});
    const LogRecorder log;
    const FontList fonts = parse(bytes);
    ASSERT_EQ(fonts->size(), 3u);
    EXPECT_THAT(log.linesWith("OxParserTrueTypeCollectionImp INFO Parsing:  "), SizeIs(4))
        << "one for the file and one for each member";
    const std::string digest = md5Hex(ByteView(bytes.data(), bytes.size()));
    const Lines expected[] = {{}, {"warning 11803 Invalid kerning subtable"}, {"error 11103 7"}};
    for (std::size_t i = 0; i < 3; ++i) {
        const OxFont& font = (*fonts)[i];
        EXPECT_EQ(font.getAttributeAsInt(eFontOffset),
                  static_cast<int>(ByteView(bytes.data(), bytes.size()).u32be(12 + 4 * i)));
        EXPECT_EQ(font.getAttribute(eFingerprint), digest);
        EXPECT_EQ(font.getAttribute(ePlatform), "");
        EXPECT_EQ(font.getAttribute(eFamilyname), "Acme Sans");
        EXPECT_EQ(font.getFontType(), OxFont::TTC);
        EXPECT_EQ(diagnosticLines(font), expected[i]) << i;
    }
}

// Were a conversion left behind, every second member that shares the table would see its mirror.
TEST_F(Collection, MembersThatShareTablesSeeTheFilesOwnBytes) {
    const SfntBuilder member =
        SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({1, 2}));
    const std::vector<SfntBuilder> members(5, member);
    const FontList shared = parse(SfntBuilder::collection(members, true));
    const FontList apart = parse(SfntBuilder::collection(members, false));
    ASSERT_EQ(shared->size(), 5u);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(diagnosticLines((*shared)[i]), diagnosticLines((*apart)[i])) << i;
        EXPECT_EQ((*shared)[i].getAttribute(eFullname), "Acme Sans Bold");
        EXPECT_EQ((*shared)[i].getAttribute(eWeight), "400");
    }
}

// Overlapping tables inside one member: the remembered sum of the plain bytes must not be used.
TEST_F(Collection, SumsOverConvertedBytesAreTakenAfresh) {
    SfntBuilder overlapping = SfntBuilder::goodFont();
    const Bytes plain = SfntBuilder::collection({overlapping, overlapping});
    const Bytes head = overlapping["head"].data;
    const auto place = std::search(plain.begin(), plain.end(), head.begin(), head.end());
    overlapping["post"].offset = static_cast<std::uint32_t>(place - plain.begin());
    overlapping["post"].length = static_cast<std::uint32_t>(head.size());
    overlapping["post"].checksum = SfntBuilder::checksum(head);
    const FontList fonts = parse(SfntBuilder::collection({overlapping, overlapping}));
    ASSERT_EQ(fonts->size(), 2u);
    EXPECT_THAT(diagnosticLines(fonts->front()), SizeIs(1));
    EXPECT_EQ(diagnosticLines(fonts->front()), diagnosticLines(fonts->back()));
}

TEST_F(Collection, OddMembers) {
    const SfntBuilder good = SfntBuilder::goodFont();
    const std::string scalar = "error 0 True type collection must have Windows scalar type";
    FontList fonts = parse(SfntBuilder::collection({SfntBuilder(good).version(fourCharCode("OTTO")),
                                                    SfntBuilder(good).version(fourCharCode("true")),
                                                    SfntBuilder(good).tableCount(37),
                                                    SfntBuilder(good).tableCount(0)}));
    ASSERT_EQ(fonts->size(), 4u);
    EXPECT_THAT(diagnosticLines((*fonts)[0]), ElementsAre(scalar));
    EXPECT_EQ((*fonts)[0].attributes().size(), 4u) << "path, name, offset and the initial foundry";
    EXPECT_THAT(diagnosticLines((*fonts)[1]), ElementsAre(scalar));
    EXPECT_THAT(diagnosticLines((*fonts)[2]), ElementsAre("error 11001"));
    EXPECT_EQ((*fonts)[2].getFontType(), OxFont::notSure);
    EXPECT_THAT(diagnosticLines((*fonts)[3]), IsEmpty());
    EXPECT_EQ((*fonts)[3].getFontType(), OxFont::TTC);

    // Offsets outside the file, partly past its end, and negative as signed numbers.
    BigEndian header;
    header.text("ttcf").u32(0x00010000).u32(1000).u32(0x7FFFFFFF).u32(30).u32(0x80000010);
    fonts = parse(header.u32(0x00010000));
    ASSERT_EQ(fonts->size(), 4u) << "offsets that lie past the end of the file are not read";
    for (const OxFont& font : *fonts) {
        EXPECT_THAT(diagnosticLines(font), ElementsAre(scalar));
    }
    EXPECT_EQ((*fonts)[2].getAttribute(eFontOffset), "-2147483632");
}

TEST_F(Collection, FilesThatHoldNoMember) {
    EXPECT_THAT(*parse(Bytes()), IsEmpty());
    EXPECT_THAT(*parse(BigEndian().text("ttcf").u32(0x10000).u32(0).zeros(100)), IsEmpty());
    EXPECT_THAT(*parse(BigEndian().text("ttcf").u32(0x10000).u32(9)), IsEmpty());
    EXPECT_THAT(*FontList(parser.parseFontFile(folder.path() / "missing.ttc")), IsEmpty());
    const FontList fonts = parse(BigEndian().text("ttcf").u32(0x10000).u32(9).u32(0).zeros(11));
    ASSERT_EQ(fonts->size(), 3u);
    EXPECT_THAT(diagnosticLines(fonts->front()), ElementsAre("error 10000 (file length=27 )"));
}

TEST_F(Collection, OneMemberByItsOffset) {
    const Bytes bytes = SfntBuilder::collection({SfntBuilder::goodFont(), SfntBuilder::goodFont()});
    const auto file = folder.write("a.ttc", bytes);
    const FontList one(parser.validate(
        file, static_cast<std::int32_t>(ByteView(bytes.data(), bytes.size()).u32be(16))));
    ASSERT_EQ(one->size(), 1u);
    EXPECT_EQ(one->front().getAttribute(eFamilyname), "Acme Sans");
    const FontList missing(parser.validate(folder.path() / "missing.ttc", 0));
    EXPECT_THAT(diagnosticLines(missing->front()), ElementsAre("error 2"));
}

TEST_F(Collection, TheBudgetOfRecords) {
    BigEndian header;
    header.text("ttcf").u32(0x00010000).u32(1000000);
    for (int i = 0; i < 5000; ++i) {
        header.u32(0);
    }
    const FontList fonts = parse(header);
    ASSERT_EQ(fonts->size(), 4096u);
    EXPECT_THAT(diagnosticLines((*fonts)[4094]), SizeIs(1));
    EXPECT_THAT(diagnosticLines(fonts->back()),
                ElementsAre("error 0 True type collection must have Windows scalar type",
                            "error 0 Font data is too entangled to check"));
}

TEST_F(Collection, TheBudgetOfSummedTables) {
    // Each member sums the same 1 MB table 36 times: 36 MB a member against 256 MB and 16 MiB.
    SfntBuilder member;
    for (int i = 0; i < 36; ++i) {
        member.table("glyf", Bytes());
    }
    BigEndian file;
    constexpr std::uint32_t kMembers = 20;
    constexpr std::uint32_t kTable = 1'000'000;
    file.text("ttcf").u32(0x00010000).u32(kMembers);
    for (std::uint32_t i = 0; i < kMembers; ++i) {
        file.u32(12 + 4 * kMembers);
    }
    file.u32(0x00010000).u16(36).u16(0).u16(0).u16(0);
    for (int i = 0; i < 36; ++i) {
        file.text("glyf").u32(0).u32(1000).u32(kTable);
    }
    file.padTo(1000 + kTable);
    const FontList fonts = parse(file);
    const std::uint64_t budget = 256 * file.size() + 16 * 1024 * 1024;
    const std::uint64_t perMember = 36 * std::uint64_t{kTable};
    EXPECT_EQ(fonts->size(), budget / perMember + 1);
    EXPECT_EQ(fonts->back().diagnostics().back().text, "Font data is too entangled to check");
}

TEST_F(Collection, MembersWithKerningThatStandsStillAreReadInNoTime) {
    constexpr std::uint32_t kMembers = 300;
    constexpr std::uint32_t kDirectory = 12 + 4 * kMembers;
    constexpr std::uint32_t kKern = kDirectory + 12 + 36 * 16;
    BigEndian file;
    file.text("ttcf").u32(0x00010000).u32(kMembers);
    for (std::uint32_t i = 0; i < kMembers; ++i) {
        file.u32(kDirectory);
    }
    file.u32(0x00010000).u16(36).u16(0).u16(0).u16(0);
    for (int i = 0; i < 36; ++i) {
        file.text("kern").u32(0xFFFF).u32(kKern).u32(4);
    }
    file.u16(0).u16(0xFFFF).zeros(4).u16(0x0200).u16(0).u16(14).u16(18).zeros(8000);
    const FontList fonts = parse(file);
    ASSERT_EQ(fonts->size(), kMembers);
    EXPECT_EQ(diagnosticLines(fonts->front()), diagnosticLines(fonts->back()));
}

TEST_F(Collection, DamagedFilesEndQuietly) {
    const Bytes good =
        SfntBuilder::collection({SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({1})),
                                 SfntBuilder::goodFont()});
    for (std::size_t length = 0; length < good.size(); length += 3) {
        parse(Bytes(good.begin(), good.begin() + static_cast<long>(length)));
    }
    for (std::size_t i = 0; i < good.size(); ++i) {
        Bytes bytes = good;
        bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ 0xFF);
        parse(bytes);
    }
}

}  // namespace
