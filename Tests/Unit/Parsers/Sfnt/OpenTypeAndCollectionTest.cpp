#include "LogRecorder.h"
#include "OxParserOpenTypeImp.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "SfntBuilder.h"
#include "UnitTest.h"

namespace {

constexpr char kScalar[] = "error 0 True type collection must have Windows scalar type";

class OpenType : public ParserTest<OxParserOpenTypeImp, 0> {
  protected:
    OpenType() : ParserTest("Acme.otf") {}

    static SfntBuilder otto() { return SfntBuilder::goodFont().version(code("OTTO")); }
    std::string problemsOf(const SfntBuilder& font) { return problems(one(font)); }
};

TEST_F(OpenType, VersionsAndTypes) {
    const OxFont font = one(otto().table("DSIG", Bytes(8)));
    EXPECT_EQ(problems(font), "");
    EXPECT_EQ(font.getAttribute(ePlatform), "Open Type");
    EXPECT_EQ(font.getFontType(), OxFont::OTPS);
    EXPECT_EQ(font.getAttribute(eFoundry), "Unknown");
    EXPECT_EQ(one(SfntBuilder::goodFont()).getAttribute(ePlatform), "MacOrWindows");
    for (const char* version : {"true", "typ1"}) {
        const OxFont other = one(otto().version(code(version)));
        EXPECT_EQ(problems(other), "error -1003");
        EXPECT_EQ(other.getFontType(), OxFont::notSure);
    }
}

TEST_F(OpenType, WithoutTablesOrWithTooManyThereIsNoType) {
    EXPECT_EQ(one(otto().fillUpTo(36)).getFontType(), OxFont::OTPS);
    EXPECT_EQ(one(otto().tableCount(0)).getFontType(), OxFont::notSure);
    EXPECT_EQ(problemsOf(otto().fillUpTo(37)), "error 11001");
    EXPECT_EQ(one(otto().fillUpTo(37)).getFontType(), OxFont::notSure);
    // A directory that goes past the end keeps the steps after the walk.
    SfntBuilder font;
    font.version(code("OTTO")).tableCount(5).table("zzzz", Bytes(20));
    EXPECT_EQ(one(font).getFontType(), OxFont::OTPS);
}

TEST_F(OpenType, KernIsReadAndARealCffTableIsNot) {
    EXPECT_EQ(problemsOf(otto().table("kern", BigEndian().u32(0)).table("CFF ", Bytes(3))),
              "warning 11802 Invalid kerning subtable");
    EXPECT_THAT(parser.fontNames(), IsEmpty());
}

TEST_F(OpenType, TheNameIndexReaderKeepsItsArithmetic) {
    const auto problemsWith = [this](const BigEndian& table) {
        return problemsOf(otto().table(std::string("\0cff", 4), table));
    };
    const auto header = [] { return BigEndian().u8(1).u8(0).u8(4).u8(1); };
    constexpr char kPastTheEnd[] = "error 0 read past the end of the font data; error 11050";
    EXPECT_EQ(problemsWith(header().u16(2).u8(1).u8(1).u8(4).u8(7).text("OneTwo").zeros(2)), "");
    EXPECT_THAT(parser.fontNames(), ElementsAre("OneT", "Two"))
        << "each name brings the byte behind it";
    // With wider offsets the texts are taken from inside the (converted) offset array.
    EXPECT_EQ(problemsWith(header().u16(2).u8(2).u16(1).u16(4).u16(7).text("OneTwo").zeros(2)), "");
    EXPECT_THAT(parser.fontNames(), ElementsAre("", "OneT"));
    EXPECT_EQ(problemsWith(BigEndian().u8(1).u8(0).u8(200).u8(1)), kPastTheEnd);
    // Offsets that step back by one name no bytes: nothing is read, wherever they point.
    const BigEndian far = header().u16(1).u8(4).u32(0x01000000);
    EXPECT_EQ(problemsWith(BigEndian(far).u32(0x00FFFFFF)), "");
    EXPECT_EQ(problemsWith(BigEndian(far).u32(0x01000000)), kPastTheEnd);
    OxFont font;
    EXPECT_FALSE(parser.parseCompactFontFormatTable(nullptr, font));
}

class Collection : public ParserTest<OxParserTrueTypeCollectionImp, 0> {
  protected:
    Collection() : ParserTest("Acme.ttc") {}

    static std::uint32_t offsetOf(const Bytes& file, std::size_t member) {
        return get32(file, 12 + 4 * member);
    }
};

BigEndian header(std::uint32_t members) {
    return BigEndian().text("ttcf").u32(0x00010000).u32(members);
}

TEST_F(Collection, EachMemberIsARecordInTheOrderOfTheOffsets) {
    const SfntBuilder good = SfntBuilder::goodFont();
    SfntBuilder second = good;
    second.table("kern", SfntBuilder::kernTable({0})).table("DSIG", Bytes(8));
    Bytes bytes =
        SfntBuilder::collection({good, second, SfntBuilder(good).patch("head.magicNumber", 7)});
    patch(bytes, 0, 4, 0);  // neither the tag nor the version behind it is looked at
    patch(bytes, 4, 4, 9);
    const LogRecorder log;
    const FontList fonts = parse(bytes);
    EXPECT_THAT(log.linesWith("OxParserTrueTypeCollectionImp INFO Parsing:  "), SizeIs(4))
        << "one for the file and one for each member";
    const Lines expected = {"", "warning 11803 Invalid kerning subtable", "error 11103 7"};
    ASSERT_THAT(fonts, SizeIs(3));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(fonts[i].getAttribute(eFontOffset), std::to_string(offsetOf(bytes, i)));
        EXPECT_EQ(fonts[i].getAttribute(eFingerprint), digestOf(bytes));
        EXPECT_EQ(fonts[i].getAttribute(ePlatform), "");
        EXPECT_EQ(fonts[i].getAttribute(eFamilyname), "Acme Sans");
        EXPECT_EQ(fonts[i].getFontType(), OxFont::TTC);
        EXPECT_EQ(problems(fonts[i]), expected[i]) << i;
    }
}

// Were a conversion left behind, every second member that shares the table would see its mirror.
TEST_F(Collection, MembersThatShareTablesSeeTheFilesOwnBytes) {
    const std::vector<SfntBuilder> members(
        5, SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({1, 2})));
    const FontList shared = parse(SfntBuilder::collection(members, true));
    const FontList apart = parse(SfntBuilder::collection(members, false));
    ASSERT_THAT(shared, SizeIs(5));
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(problems(shared[i]), problems(apart[i])) << i;
        EXPECT_EQ(shared[i].getAttribute(eFullname), "Acme Sans Bold");
        EXPECT_EQ(shared[i].getAttribute(eWeight), "400");
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
    ASSERT_THAT(fonts, SizeIs(2));
    EXPECT_THAT(fonts.front().diagnostics(), SizeIs(1));
    EXPECT_EQ(problems(fonts.front()), problems(fonts.back()));
}

TEST_F(Collection, OddMembers) {
    const SfntBuilder good = SfntBuilder::goodFont();
    const struct {
        SfntBuilder member;
        const char* problems;
        int type;
    } kCases[] = {{SfntBuilder(good).version(code("OTTO")), kScalar, OxFont::notSure},
                  {SfntBuilder(good).version(code("true")), kScalar, OxFont::notSure},
                  {SfntBuilder(good).fillUpTo(37), "error 11001", OxFont::notSure},
                  {SfntBuilder(good).fillUpTo(36), "", OxFont::TTC},
                  {SfntBuilder(good).tableCount(0), "", OxFont::TTC}};
    for (const auto& c : kCases) {
        const OxFont font = one(SfntBuilder::collection({c.member}));
        EXPECT_EQ(problems(font), c.problems);
        EXPECT_EQ(font.getFontType(), c.type);
        EXPECT_EQ(font.attributes().size() == 4, c.problems == kScalar)
            << "path, name, offset and the initial foundry";
    }
    // Offsets outside the file, partly past its end, and negative as signed numbers.
    const FontList fonts =
        parse(header(1000).u32(0x7FFFFFFF).u32(30).u32(0x80000010).u32(0x00010000));
    ASSERT_THAT(fonts, SizeIs(4)) << "offsets that lie past the end of the file are not read";
    for (const OxFont& font : fonts) {
        EXPECT_EQ(problems(font), kScalar);
    }
    EXPECT_EQ(fonts[2].getAttribute(eFontOffset), "-2147483632");
}

TEST_F(Collection, FilesThatHoldNoMember) {
    EXPECT_THAT(parse(Bytes()), IsEmpty());
    EXPECT_THAT(parse(header(0).zeros(100)), IsEmpty());
    EXPECT_THAT(parse(header(9)), IsEmpty());
    const FontList fonts = parse(header(9).u32(0).zeros(11));
    ASSERT_THAT(fonts, SizeIs(3));
    EXPECT_EQ(problems(fonts.front()), "error 10000 (file length=27 )");
}

TEST_F(Collection, OneMemberByItsOffset) {
    const Bytes bytes = SfntBuilder::collection({SfntBuilder::goodFont(), SfntBuilder::goodFont()});
    const auto file = folder.write("a.ttc", bytes);
    const FontList one =
        taken(parser.validate(file, static_cast<std::int32_t>(offsetOf(bytes, 1))));
    ASSERT_THAT(one, SizeIs(1));
    EXPECT_EQ(one.front().getAttribute(eFamilyname), "Acme Sans");
    EXPECT_EQ(problems(taken(parser.validate(folder.path() / "missing.ttc", 0)).front()),
              "error 2");
}

}  // namespace
