#include "OxParserTrueTypeImp.h"
#include "SfntBuilder.h"
#include "UnitTest.h"

namespace {

using Name = SfntBuilder::Name;

OxFont parse(const SfntBuilder& font, int platformId = 0) {
    OxParserTrueTypeImp parser(platformId);
    return parseMemory(parser, font);
}

std::string problemsOf(const SfntBuilder& font, int platformId = 0) {
    return problems(parse(font, platformId));
}

SfntBuilder withNames(const std::vector<Name>& names) {
    Bytes table = SfntBuilder::nameTable(names);
    // Texts of fewer than six bytes altogether would lie "off the end of the table".
    table.resize(table.size() + 6);
    return SfntBuilder::goodFont().table("name", table);
}

TEST(SfntNames, ThePlatformIdChoosesTheRecords) {
    const Name mac = {1, 0, 0, 1, "Mac"};
    const Name windows = {3, 1, 0x0409, 1, SfntBuilder::utf16(u"Win")};
    const std::string none = "error 11302 Name table has invalid platform or language; error 11021";
    const struct {
        std::vector<Name> names;
        int platformId;
        std::string family;                    // empty: no record counts
    } kCases[] = {{{mac, windows}, 0, "Win"},  // the later wins
                  {{mac, windows}, 1, "Mac"},
                  {{mac, windows}, 2, "Win"},
                  {{mac, windows}, 3, ""},
                  {{windows}, 1, ""},
                  {{mac}, 2, ""},
                  {{{1, 0, 1, 1, "Mac"}, {3, 1, 0x0407, 1, "Win"}, {0, 3, 0, 1, "Win"}}, 0, ""}};
    for (const auto& c : kCases) {
        const OxFont font = parse(withNames(c.names), c.platformId);
        EXPECT_EQ(font.getAttribute(eFamilyname), c.family);
        EXPECT_EQ(problems(font), c.family.empty() ? none : "");
    }
}

TEST(SfntNames, TextsAreDecodedByPlatformAndEncoding) {
    const auto familyOf = [](const Name& name) {
        return parse(withNames({name})).getAttribute(eFamilyname);
    };
    for (const Lines& row : rowsOf("name-texts.tsv")) {
        const auto number = [&row](std::size_t i) {
            return static_cast<std::uint16_t>(std::stoi(row.at(i)));
        };
        EXPECT_EQ(familyOf({number(0), number(1), number(2), 1, row.at(3)}), row.at(4));
    }
    EXPECT_EQ(familyOf({1, 0, 0, 1, std::string(300, 'x')}), std::string(255, 'x'));
    EXPECT_EQ(familyOf({1, 0, 0, 1, "x" + std::string(200, '\x8E')}).size(), 255u);
    EXPECT_EQ(familyOf({1, 0, 0, 1, std::string(200, '\xDB')}).size(), 255u);
    EXPECT_EQ(familyOf({1, 0, 0, 1, "xx" + std::string(200, '\xDB')}).size(), 254u)
        << "cut after a whole character";
}

TEST(SfntNames, TheStringReaderKnowsEveryPlatform) {
    OxParserTrueTypeImp parser(0);
    const unsigned char storage[] = {0, 'A', 0, 'B', 'C'};
    const struct {
        std::uint16_t platform, encoding, length;
        const char* text;
    } kCases[] = {{0, 3, 4, "AB"}, {2, 1, 4, "AB"}, {0, 3, 5, "AB"},
                  {0, 3, 1, ""},   {1, 0, 5, ""},  // ends at the first zero byte
                  {3, 2, 4, ""},   {4, 0, 4, ""}};
    for (const auto& c : kCases) {
        const ttf::tagNameRecord record = {c.platform, c.encoding, 0, 1, c.length, 0};
        EXPECT_EQ(parser.get_name_table_string(&record, storage), c.text) << c.platform;
    }
}

TEST(SfntNames, HigherIdsCountAsAcceptedAndSetNothing) {
    const OxFont font = parse(withNames({{3, 1, 0x0409, 9, SfntBuilder::utf16(u"Designer")}}));
    EXPECT_EQ(problems(font) + font.getAttribute(eFamilyname), "");
}

TEST(SfntNames, TheHeaderIsJudged) {
    const SfntBuilder good = SfntBuilder::goodFont().table("zzzz", Bytes(400));
    const auto length = static_cast<std::uint32_t>(SfntBuilder(good)["name"].data.size());
    const struct {
        const char* field;
        std::uint32_t value;
        const char* problems;
    } kCases[] = {
        {"name.format", 1, "warning 11300 Name table wrong format"},
        {"name.count", 0, "error 11301 Invalid Name table header count; error 11021"},
        {"name.stringOffset", 0, "error 11302 Invalid Name table header offset; error 11021"},
        {"name.stringOffset", length - 5,
         "error 11302 Name table header offset goes off the end of the table; error 11021"},
        // The texts then come from behind the table, inside the image.
        {"name.stringOffset", length - 6, ""}};
    for (const auto& c : kCases) {
        EXPECT_EQ(problemsOf(SfntBuilder(good).patch(c.field, c.value)), c.problems) << c.value;
    }
}

TEST(SfntNames, ATableShorterThanItsHeaderWrapsTheBorder) {
    SfntBuilder font = SfntBuilder::goodFont();
    font["name"].length = 4;
    Bytes start = font["name"].data;
    start.resize(4);
    font["name"].checksum = SfntBuilder::checksum(start);
    EXPECT_EQ(problemsOf(font), "");
    EXPECT_EQ(parse(font).getAttribute(eFamilyname), "Acme Sans");
}

TEST(SfntNames, ARecordPastTheEndFailsButThoseBeforeItCount) {
    SfntBuilder font = withNames({{3, 1, 0x0409, 1, SfntBuilder::utf16(u"Family")},
                                  {3, 1, 0x0409, 4, SfntBuilder::utf16(u"Full")}});
    font.drop("post");  // 'name' is the last table now
    patch(font["name"].data, 6 + 12 + 8, 2, 400);
    const OxFont parsed = parse(font);
    EXPECT_EQ(problems(parsed), "error 0 name:  read past the end of the font data; error 11021");
    EXPECT_EQ(parsed.getAttribute(eFamilyname), "Family");
    EXPECT_EQ(parsed.attributes().count(eFullname), 0u);
}

constexpr char kSubtable2[] = "warning 11802 Invalid kerning subtable";
constexpr char kSubtable3[] = "warning 11803 Invalid kerning subtable";
constexpr char kNoTable[] = "error 11801 Missing kerning table; error 11051 Invalid kerning table";
constexpr char kPastTheEnd[] =
    "error 0 kern:  read past the end of the font data; error 11051 Invalid kerning table";

SfntBuilder withKern(const Bytes& kern) {
    return SfntBuilder::goodFont().table("kern", kern);
}

TEST(SfntKerning, AGoodTableGivesItsStoredChecksum) {
    SfntBuilder font = withKern(SfntBuilder::kernTable({3, 1}));
    const OxFont parsed = parse(font);
    EXPECT_EQ(problems(parsed), "");
    EXPECT_EQ(parsed.getAttribute(eKerningChecksum),
              std::to_string(SfntBuilder::checksum(font["kern"].data)));
    font["kern"].checksum = 77;
    EXPECT_EQ(parse(font).getAttribute(eKerningChecksum), "77");
}

TEST(SfntKerning, ShortAndEmptyTables) {
    SfntBuilder font = withKern(SfntBuilder::kernTable({1}));
    font["kern"].length = 3;
    font["kern"].checksum = 1;  // the first word: version 0, one subtable
    EXPECT_EQ(problemsOf(font), kNoTable);
    EXPECT_EQ(problemsOf(withKern(SfntBuilder::kernTable({}))), kSubtable2);
}

TEST(SfntKerning, TheSubtableCountIsMeasuredAgainstTheGlyphPairsOfTheFontBefore) {
    // Read before 'maxp', as in a sorted directory, the count is that of the font before.
    SfntBuilder font = withKern(SfntBuilder::kernTable({1})).first("kern");
    OxParserTrueTypeImp parser(0);
    EXPECT_EQ(problems(parseMemory(parser, font)), kSubtable2);
    EXPECT_EQ(problems(parseMemory(parser, font)), "");
    // 65,535 glyphs have more pairs than 32 bits hold.
    parseMemory(parser, font.patch("maxp.numGlyphs", 65535));
    EXPECT_EQ(problems(parseMemory(parser, font)), "");
    EXPECT_EQ(problemsOf(font.patch("maxp.numGlyphs", 1)), kSubtable2);
}

TEST(SfntKerning, PairCountsAreComparedWithTheSubtableLength) {
    const SfntBuilder good = withKern(SfntBuilder::kernTable({2}));
    const auto with = [&](const char* field, std::uint32_t value) {
        return problemsOf(SfntBuilder(good).patch(field, value));
    };
    EXPECT_EQ(with("kern.subtable0.nPairs", 0), kSubtable3);
    EXPECT_EQ(with("kern.subtable0.length", 11), kSubtable3);
    EXPECT_EQ(with("kern.subtable0.length", 12), "");
}

TEST(SfntKerning, AnUnknownFormatIsNotSteppedOver) {
    SfntBuilder font = withKern(SfntBuilder::kernTable({0, 0, 0}));
    EXPECT_THAT(parse(font).diagnostics(), SizeIs(3));
    EXPECT_EQ(problemsOf(font.patch("kern.subtable0.format", 7)), "");
}

// Format 2: row width, left and right class offsets, array; a class table is first glyph, count.
Bytes classKern(std::uint32_t left, std::uint32_t right) {
    BigEndian kern;
    kern.u16(0).u16(2).u16(0).u16(40).u16(0x0200).u16(10).u16(left).u16(right).u16(0);
    return kern.u16(5).u16(1).u16(6).u16(3).zeros(40);
}

TEST(SfntKerning, ClassSubtablesAreSteppedOverByTheRightClass) {
    // Row width 10 and three glyphs: 30 bytes on, at zeros, lies a subtable of format 0 without
    // pairs.
    EXPECT_EQ(problemsOf(withKern(classKern(14, 18))), kSubtable3);
    // Both class tables in one place convert each other back: 0x0300 glyphs.
    EXPECT_EQ(problemsOf(withKern(classKern(18, 18))), kPastTheEnd);
    EXPECT_EQ(problemsOf(withKern(classKern(14, 60000))), kPastTheEnd);
}

// A font with a 'kern' of so many class subtables of which the first is never stepped over, and a
// 'cmap' that lies over its bytes: that one's checksum tells how often they were converted.
Bytes convertedInPlace(std::uint32_t passes, std::uint32_t left) {
    constexpr std::uint32_t kKern = 12 + 2 * 16;
    constexpr std::uint32_t kEnd = 8000;
    BigEndian font;
    font.u32(0x00010000).u16(2).zeros(6);
    font.text("kern").u32(0).u32(kKern).u32(4);
    font.text("cmap").u32(0).u32(kKern + 4).u32(kEnd - kKern - 4);
    font.u16(0).u16(passes).u16(0).u16(0).u16(0x0200).u16(0).u16(left).u16(18);
    while (font.size() < kEnd) {
        font.u8(static_cast<std::uint32_t>(font.size() * 7 % 251));
    }
    return font;
}

TEST(SfntKerning, PassesThatGoInACircleAreNotAllMade) {
    OxParserTrueTypeImp parser(0);
    const auto last = [&](std::uint32_t passes, std::uint32_t left) {
        return diagnosticLines(parseMemory(parser, convertedInPlace(passes, left))).back();
    };
    // 14 is a place of its own, 8 lies over the header's fields, 4114 over the right class table
    // of every second pass.
    for (const std::uint32_t left : {14u, 8u, 4114u}) {
        EXPECT_NE(last(9, left), last(10, left)) << left;
        EXPECT_EQ(last(9, left), last(9 + 24 * 2730, left)) << left;
        EXPECT_EQ(last(10, left), last(10 + 24 * 2700, left)) << left;
    }
}

}  // namespace
