#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "BigEndian.h"
#include "OxParserTrueTypeImp.h"
#include "SfntBuilder.h"
#include "SfntTables.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Lines = std::vector<std::string>;
using Name = SfntBuilder::Name;

// Runs the in-memory entry, which reads 'kern', on a font's bytes.
OxFont parseWith(OxParserTrueTypeImp& parser, const Bytes& bytes) {
    std::vector<ttf::tagFontDirectory> aligned(bytes.size() / 12 + 1);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(aligned.data()));
    OxFont start;
    const std::unique_ptr<boost::ptr_vector<OxFont>> fonts(
        parser.validate(start, aligned[0], static_cast<std::uint32_t>(bytes.size())));
    return OxFont(fonts->front());
}

OxFont parse(const SfntBuilder& font, int platformId = 0) {
    OxParserTrueTypeImp parser(platformId);
    return parseWith(parser, font.build());
}

SfntBuilder withNames(const std::vector<Name>& names) {
    Bytes table = SfntBuilder::nameTable(names);
    // Texts of fewer than six bytes altogether would lie "off the end of the table".
    table.resize(table.size() + 6);
    return SfntBuilder::goodFont().table("name", table);
}

std::string familyOf(const Name& name) {
    return parse(withNames({name})).getAttribute(eFamilyname);
}

TEST(SfntNames, ThePlatformIdChoosesTheRecords) {
    const std::string mac = "Mac";
    const std::string windows = SfntBuilder::utf16(u"Win");
    const std::vector<Name> both = {{1, 0, 0, 1, mac}, {3, 1, 0x0409, 1, windows}};
    EXPECT_EQ(parse(withNames(both), 0).getAttribute(eFamilyname), "Win") << "the later wins";
    EXPECT_EQ(parse(withNames(both), 1).getAttribute(eFamilyname), "Mac");
    EXPECT_EQ(parse(withNames(both), 2).getAttribute(eFamilyname), "Win");
    const Lines none = {"error 11302 Name table has invalid platform or language", "error 11021"};
    EXPECT_EQ(diagnosticLines(parse(withNames(both), 3)), none);
    EXPECT_EQ(diagnosticLines(parse(withNames({both[1]}), 1)), none);
    EXPECT_EQ(diagnosticLines(parse(withNames({both[0]}), 2)), none);
    EXPECT_EQ(diagnosticLines(parse(withNames(
                  {{1, 0, 1, 1, mac}, {3, 1, 0x0407, 1, windows}, {0, 3, 0, 1, windows}}))),
              none);
}

TEST(SfntNames, TextsAreDecodedByPlatformAndEncoding) {
    EXPECT_EQ(familyOf({3, 1, 0x0409, 1, std::string("\0A\x4E\x2D", 4)}), "A\x2D");
    EXPECT_EQ(familyOf({3, 0, 0x0409, 1, std::string("\xF0\x41\0B", 4)}), "AB");
    EXPECT_EQ(familyOf({3, 10, 0x0409, 1, std::string("\0A\0B", 4)}), "");
    EXPECT_EQ(familyOf({3, 1, 0x0409, 1, std::string("\0A\0\0\0B", 6)}), std::string("A\0B", 3));
    EXPECT_EQ(familyOf({3, 1, 0x0409, 1, std::string("\0A\0", 3)}), "A");
    EXPECT_EQ(familyOf({3, 1, 0x0409, 1, "A"}), "");
    EXPECT_EQ(familyOf({1, 0, 0, 1, "caf\x8E \xDB\xF0"}), "café €\xEF\xA3\xBF");
    EXPECT_EQ(familyOf({1, 25, 0, 1, std::string("AB\0C", 4)}), "AB");
    EXPECT_EQ(familyOf({1, 0, 0, 1, std::string(300, 'x')}), std::string(255, 'x'));
    EXPECT_EQ(familyOf({1, 0, 0, 1, "x" + std::string(200, '\x8E')}).size(), 255u);
    EXPECT_EQ(familyOf({1, 0, 0, 1, std::string(200, '\xDB')}).size(), 255u);
    EXPECT_EQ(familyOf({1, 0, 0, 1, "xx" + std::string(200, '\xDB')}).size(), 254u)
        << "cut after a whole character";
}

TEST(SfntNames, TheStringReaderKnowsEveryPlatform) {
    OxParserTrueTypeImp parser(0);
    const unsigned char storage[] = {0, 'A', 0, 'B', 'C'};
    const auto text = [&](std::uint16_t platform, std::uint16_t encoding, std::uint16_t length) {
        const ttf::tagNameRecord record = {platform, encoding, 0, 1, length, 0};
        return parser.get_name_table_string(&record, storage);
    };
    EXPECT_EQ(text(0, 3, 4), "AB");
    EXPECT_EQ(text(2, 1, 4), "AB");
    EXPECT_EQ(text(0, 3, 5), "AB");
    EXPECT_EQ(text(0, 3, 1), "");
    EXPECT_EQ(text(1, 0, 5), "") << "ends at the first zero byte";
    EXPECT_EQ(text(3, 2, 4), "");
    EXPECT_EQ(text(4, 0, 4), "");
}

TEST(SfntNames, HigherIdsCountAsAcceptedAndSetNothing) {
    const OxFont font = parse(withNames({{3, 1, 0x0409, 9, SfntBuilder::utf16(u"Designer")}}));
    EXPECT_THAT(diagnosticLines(font), IsEmpty());
    EXPECT_EQ(font.getAttribute(eFamilyname), "");
}

TEST(SfntNames, TheHeaderIsJudged) {
    const SfntBuilder good = SfntBuilder::goodFont().table("zzzz", Bytes(400));
    const auto problems = [&good](const char* field, std::uint32_t value) {
        return diagnosticLines(parse(SfntBuilder(good).patch(field, value)));
    };
    EXPECT_THAT(problems("name.format", 1), ElementsAre("warning 11300 Name table wrong format"));
    EXPECT_THAT(problems("name.count", 0),
                ElementsAre("error 11301 Invalid Name table header count", "error 11021"));
    EXPECT_THAT(problems("name.stringOffset", 0),
                ElementsAre("error 11302 Invalid Name table header offset", "error 11021"));
    const auto length = static_cast<std::uint32_t>(SfntBuilder(good)["name"].data.size());
    EXPECT_THAT(problems("name.stringOffset", length - 5),
                ElementsAre("error 11302 Name table header offset goes off the end of the table",
                            "error 11021"));
    // Six bytes less is accepted; the texts then come from behind the table, inside the image.
    EXPECT_THAT(problems("name.stringOffset", length - 6), IsEmpty());
}

TEST(SfntNames, ATableShorterThanItsHeaderWrapsTheBorder) {
    SfntBuilder font = SfntBuilder::goodFont();
    font["name"].length = 4;
    font["name"].checksum =
        SfntBuilder::checksum(Bytes(font["name"].data.begin(), font["name"].data.begin() + 4));
    EXPECT_THAT(diagnosticLines(parse(font)), IsEmpty());
    EXPECT_EQ(parse(font).getAttribute(eFamilyname), "Acme Sans");
}

TEST(SfntNames, ARecordPastTheEndFailsButThoseBeforeItCount) {
    SfntBuilder font = withNames({{3, 1, 0x0409, 1, SfntBuilder::utf16(u"Family")},
                                  {3, 1, 0x0409, 4, SfntBuilder::utf16(u"Full")}});
    font.drop("post");  // 'name' is the last table now
    patch(font["name"].data, 6 + 12 + 8, 2, 400);
    const OxFont parsed = parse(font);
    EXPECT_THAT(diagnosticLines(parsed),
                ElementsAre("error 0 name:  read past the end of the font data", "error 11021"));
    EXPECT_EQ(parsed.getAttribute(eFamilyname), "Family");
    EXPECT_EQ(parsed.attributes().count(eFullname), 0u);
}

// 65,535 records of 64 KB each would be 4 GB of text.
TEST(SfntNames, ATableOfOverlappingTextsCostsLittle) {
    BigEndian table;
    constexpr std::uint32_t kCount = 65535;
    table.u16(0).u16(kCount).u16(6);
    for (std::uint32_t i = 0; i < kCount; ++i) {
        table.u16(3).u16(1).u16(0x0409).u16(i % 8).u16(65534).u16(i % 4);
    }
    const OxFont font = parse(SfntBuilder::goodFont().table("name", table));
    EXPECT_THAT(diagnosticLines(font), IsEmpty());
    EXPECT_EQ(font.getAttribute(eTrademark).size(), 32767u);
}

SfntBuilder withKern(const Bytes& kern) {
    return SfntBuilder::goodFont().table("kern", kern);
}

TEST(SfntKerning, AGoodTableGivesItsStoredChecksum) {
    SfntBuilder font = withKern(SfntBuilder::kernTable({3, 1}));
    const OxFont parsed = parse(font);
    EXPECT_THAT(diagnosticLines(parsed), IsEmpty());
    EXPECT_EQ(parsed.getAttribute(eKerningChecksum),
              std::to_string(SfntBuilder::checksum(font["kern"].data)));
    font["kern"].checksum = 77;
    EXPECT_EQ(parse(font).getAttribute(eKerningChecksum), "77");
}

TEST(SfntKerning, ShortAndEmptyTables) {
    SfntBuilder font = withKern(SfntBuilder::kernTable({1}));
    font["kern"].length = 3;
    font["kern"].checksum = 1;  // the first word: version 0, one subtable
    EXPECT_THAT(diagnosticLines(parse(font)), ElementsAre("error 11801 Missing kerning table",
                                                          "error 11051 Invalid kerning table"));
    EXPECT_THAT(diagnosticLines(parse(withKern(SfntBuilder::kernTable({})))),
                ElementsAre("warning 11802 Invalid kerning subtable"));
}

TEST(SfntKerning, TheSubtableCountIsMeasuredAgainstTheGlyphPairsOfTheFontBefore) {
    // Read before 'maxp', as in a sorted directory, the count is that of the font before.
    SfntBuilder font = withKern(SfntBuilder::kernTable({1})).first("kern");
    OxParserTrueTypeImp parser(0);
    EXPECT_THAT(diagnosticLines(parseWith(parser, font.build())),
                ElementsAre("warning 11802 Invalid kerning subtable"));
    EXPECT_THAT(diagnosticLines(parseWith(parser, font.build())), IsEmpty());
    // 65,535 glyphs have more pairs than 32 bits hold.
    parseWith(parser, font.patch("maxp.numGlyphs", 65535).build());
    EXPECT_THAT(diagnosticLines(parseWith(parser, font.build())), IsEmpty());
    EXPECT_THAT(diagnosticLines(parse(SfntBuilder(font).patch("maxp.numGlyphs", 1))), SizeIs(1));
}

TEST(SfntKerning, PairCountsAreComparedWithTheSubtableLength) {
    const SfntBuilder good = withKern(SfntBuilder::kernTable({2}));
    const Lines warning = {"warning 11803 Invalid kerning subtable"};
    EXPECT_EQ(diagnosticLines(parse(SfntBuilder(good).patch("kern.subtable0.nPairs", 0))), warning);
    EXPECT_EQ(diagnosticLines(parse(SfntBuilder(good).patch("kern.subtable0.length", 11))),
              warning);
    EXPECT_THAT(diagnosticLines(parse(SfntBuilder(good).patch("kern.subtable0.length", 12))),
                IsEmpty());
}

TEST(SfntKerning, AnUnknownFormatIsNotSteppedOver) {
    SfntBuilder font = withKern(SfntBuilder::kernTable({0, 0, 0}));
    EXPECT_THAT(diagnosticLines(parse(font)), SizeIs(3));
    font.patch("kern.subtable0.format", 7);
    EXPECT_THAT(diagnosticLines(parse(font)), IsEmpty());
}

// Format 2: row width, left and right class offsets, array; a class table is first glyph, count.
Bytes classKern(std::uint32_t rowWidth, std::uint32_t left, std::uint32_t right) {
    BigEndian kern;
    kern.u16(0).u16(2).u16(0).u16(40).u16(0x0200).u16(rowWidth).u16(left).u16(right).u16(0);
    return kern.u16(5).u16(1).u16(6).u16(3).zeros(40);
}

TEST(SfntKerning, ClassSubtablesAreSteppedOverByTheRightClass) {
    // Row width 10 and three glyphs: 30 bytes on, at zeros, lies a subtable of format 0 without
    // pairs.
    EXPECT_THAT(diagnosticLines(parse(withKern(classKern(10, 14, 18)))),
                ElementsAre("warning 11803 Invalid kerning subtable"));
    // Both class tables in one place convert each other back: 0x0300 glyphs.
    EXPECT_THAT(diagnosticLines(parse(withKern(classKern(10, 18, 18)))),
                ElementsAre("error 0 kern:  read past the end of the font data",
                            "error 11051 Invalid kerning table"));
    EXPECT_THAT(diagnosticLines(parse(withKern(classKern(10, 14, 60000)))),
                ElementsAre("error 0 kern:  read past the end of the font data",
                            "error 11051 Invalid kerning table"));
}

// A font with a 'kern' of so many class subtables of which the first is never stepped over, and a
// 'cmap' that lies over its bytes: that one's checksum tells how often they were converted.
Bytes convertedInPlace(std::uint32_t passes, std::uint32_t left) {
    constexpr std::uint32_t kKern = 12 + 2 * 16;
    constexpr std::uint32_t kEnd = 8000;
    BigEndian font;
    font.u32(0x00010000).u16(2).u16(0).u16(0).u16(0);
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
    const auto lastLine = [&](std::uint32_t passes, std::uint32_t left) {
        return diagnosticLines(parseWith(parser, convertedInPlace(passes, left))).back();
    };
    // 14 is a place of its own, 8 lies over the header's fields, 4114 over the right class table
    // of every second pass.
    for (const std::uint32_t left : {14u, 8u, 4114u}) {
        EXPECT_NE(lastLine(9, left), lastLine(10, left)) << left;
        EXPECT_EQ(lastLine(9, left), lastLine(9 + 24 * 2730, left)) << left;
        EXPECT_EQ(lastLine(10, left), lastLine(10 + 24 * 2700, left)) << left;
    }
}

}  // namespace
