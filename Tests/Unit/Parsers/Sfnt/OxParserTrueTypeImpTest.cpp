#include "OxParserTrueTypeImp.h"

#include <cstdlib>
#include <numeric>

#include "FontFoundryList.h"
#include "SfntBuilder.h"
#include "SfntTables.h"
#include "UnitTest.h"

namespace {

class TrueTypeParser : public ParserTest<OxParserTrueTypeImp, 0> {
  protected:
    TrueTypeParser() : ParserTest("Acme.ttf") {}

    std::string fileProblems(const SfntBuilder& font) { return problems(one(font)); }
    std::string memoryProblems(const SfntBuilder& font) {
        return problems(parseMemory(parser, font));
    }
};

SfntBuilder goodFont() {
    return SfntBuilder::goodFont();
}

// Where a table's bytes lie in the font.
std::uint32_t placeOf(const Bytes& part, const Bytes& file) {
    const auto found = std::search(file.begin(), file.end(), part.begin(), part.end());
    return static_cast<std::uint32_t>(found - file.begin());
}

void reverse(Bytes& bytes, std::size_t at, std::size_t width) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    std::reverse(begin, begin + static_cast<std::ptrdiff_t>(width));
}

TEST_F(TrueTypeParser, AGoodFontHasItsAttributesAndNoDiagnostics) {
    const OxFont font = one(goodFont());
    EXPECT_EQ(problems(font), "");
    const Attributes expected = {{eFontFilePath, folder.path().string()},
                                 {eFileName, "Acme.ttf"},
                                 {ePlatform, "MacOrWindows"},
                                 {eType, "TTF"},
                                 {eFingerprint, digestOf(goodFont())},
                                 {eFoundry, "Unknown"},
                                 {eCopyright, "\xC2\xA9 Acme"},
                                 {eFamilyname, "Acme Sans"},
                                 {eSubFamilyname, "Bold"},
                                 {eUniqueId, "Acme Sans Bold:2001"},
                                 {eFullname, "Acme Sans Bold"},
                                 {eFontVersion, "Version 1.0"},
                                 {ePostscriptname, "AcmeSans-Bold"},
                                 {eTrademark, "Acme is a trademark"},
                                 {eWeight, "400"},
                                 {eWidth, "5"}};
    EXPECT_EQ(font.attributes(), expected);
}

TEST_F(TrueTypeParser, TheVersionDecidesPlatformAndType) {
    const struct {
        std::uint32_t version;
        int type;
        const char* platform;
        const char* problems;
    } kCases[] = {{0x00010000, 5, "MacOrWindows", ""},  {code("OTTO"), 8, "Open Type", ""},
                  {code("true"), 5, "Macintosh", ""},   {code("typ1"), 0, "Macintosh", ""},
                  {code("ttcf"), 5, "", "error -1003"}, {0x00020000, 5, "", "error -1003"}};
    for (const auto& c : kCases) {
        const OxFont font = one(goodFont().version(c.version));
        EXPECT_EQ(font.getAttribute(ePlatform), c.platform);
        EXPECT_EQ(font.getFontType(), c.type);
        EXPECT_EQ(problems(font), c.problems);
        EXPECT_EQ(font.getAttribute(eFingerprint).empty(), *c.problems != '\0');
    }
}

TEST_F(TrueTypeParser, AFileOf27BytesIsTooShortAndOneOf28IsJudged) {
    EXPECT_EQ(problems(one(Bytes())), "error 10000 (file length=0 )");
    Bytes bytes = goodFont();
    bytes.resize(27);
    EXPECT_EQ(problems(one(bytes)), "error 10000 (file length=27 )");
    EXPECT_EQ(one(bytes).getFontType(), OxFont::notSure);
    EXPECT_EQ(problems(one(Bytes(28))), "error -1003");
}

TEST_F(TrueTypeParser, MoreThan36TablesAreNotRead) {
    const SfntBuilder most = goodFont().fillUpTo(36);
    EXPECT_EQ(fileProblems(most), "");
    EXPECT_EQ(memoryProblems(most), "");
    EXPECT_EQ(one(most).getAttribute(eFamilyname), "Acme Sans");
    const SfntBuilder many = goodFont().fillUpTo(37);
    EXPECT_EQ(fileProblems(many), "error 11001");
    EXPECT_EQ(memoryProblems(many), "error 11001");
    EXPECT_EQ(one(many).getAttribute(eFingerprint).size(), 32u);
    EXPECT_EQ(one(many).getAttribute(eFamilyname), "");
    const OxFont none = one(goodFont().tableCount(0));
    EXPECT_EQ(problems(none) + none.getAttribute(eFamilyname), "");
}

TEST_F(TrueTypeParser, ADirectoryPastTheEndEndsTheWalkAndKeepsWhatWasRead) {
    Bytes bytes = goodFont();
    // Ten tables, but the file ends inside the directory's fifth record.
    bytes.resize(12 + 4 * 16 + 15);
    const Lines lines = diagnosticLines(one(bytes));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "error 0 Table directory goes past the end of the font data");
    EXPECT_EQ(lines.front(), "error 11013 OS/2");
}

TEST_F(TrueTypeParser, ASignatureTableMakesItAnOpenTypeFont) {
    EXPECT_EQ(one(goodFont().table("DSIG", Bytes(8))).getFontType(), OxFont::OTTT);
}

TEST_F(TrueTypeParser, ATableOutsideTheImageIsSkipped) {
    SfntBuilder font = goodFont();
    font["name"].length = static_cast<std::uint32_t>(font.build().size());
    EXPECT_EQ(fileProblems(font), "error 11013 name");
    EXPECT_EQ(one(font).getAttribute(eFamilyname), "");

    // Unknown tables are tested as well; the text is always four characters.
    const std::string unknown("\0x\0y", 4);
    font = goodFont().table(unknown, Bytes(4));
    font[unknown].offset = 0x7FFFFFFF;
    EXPECT_EQ(one(font).diagnostics().at(0).text, unknown);
}

TEST_F(TrueTypeParser, AStructureMustFitButOldOS2TablesPass) {
    SfntBuilder font;
    font.table("OS/2", BigEndian().zeros(78)).table("maxp", BigEndian().u32(0x5000).u16(1));
    EXPECT_EQ(fileProblems(font), "error 11013 maxp");
    for (const auto& [tag, size] : {std::pair("OS/2", 96), {"head", 46}, {"none", 0}}) {
        EXPECT_EQ(OxParserTrueTypeImp::getTableStructureSize(static_cast<int>(code(tag))), size);
    }
    EXPECT_FALSE(parser.preflightTable(nullptr, *std::make_unique<OxFont>(), 100));
}

TEST_F(TrueTypeParser, EachTablesChecksumIsComparedAndItsReaderFailsWithItsCode) {
    const SfntBuilder good = goodFont().table("kern", SfntBuilder::kernTable({1}));
    for (const Lines& row : rowsOf("sfnt-tables.tsv")) {
        SfntBuilder font = good;
        const std::string sum = std::to_string(SfntBuilder::checksum(font[row[0]].data));
        font[row[0]].checksum = 1234;
        EXPECT_EQ(memoryProblems(font), "warning " + row[1] + " 1234 calculated " + sum);
        EXPECT_EQ(one(font).getAttribute(eFamilyname), "Acme Sans") << "it is still read";

        // Offset and length add up to less than the image by wrapping: the preflight lets it pass.
        font = good;
        font[row[0]].offset = 0xFFFFFFFD;
        font[row[0]].length = 0x80;
        EXPECT_EQ(
            memoryProblems(font),
            "error 0 " + row[2] + ":  read past the end of the font data; error " + row.at(3));
    }
}

TEST_F(TrueTypeParser, ChecksumsOfOddLengths) {
    const Bytes words = BigEndian().u32(0x01020304).u32(0x05060708).u32(0x90000000);
    std::vector<std::uint32_t> memory(3);
    std::copy(words.begin(), words.end(), reinterpret_cast<std::uint8_t*>(memory.data()));
    // The last word takes in what follows the table.
    const std::pair<std::uint32_t, std::uint32_t> kSums[] = {
        {0, 0},          {1, 0x01020304}, {4, 0x01020304}, {5, 0x06080A0C},
        {8, 0x06080A0C}, {9, 0x96080A0C}, {0xFFFFFFFD, 0}, {0x80000000, 0}};
    for (const auto& [length, sum] : kSums) {
        EXPECT_EQ(parser.calcTableChecksum(memory.data(), length), sum) << length;
    }
    EXPECT_EQ(OxParserTrueTypeImp::endian_swaplong(0x01020304), 0x04030201u);
    EXPECT_EQ(OxParserTrueTypeImp::endian_swapword(0x0102), 0x0201u);
    EXPECT_FALSE(OxParserTrueTypeImp::is_big_endian());
}

TEST_F(TrueTypeParser, AChecksumsLastWordMayEndPastTheImage) {
    SfntBuilder font;
    font.table("glyf", BigEndian().u32(0x01020304).u16(0x0506));
    Bytes bytes = font;
    bytes.resize(bytes.size() - 2);
    EXPECT_EQ(problems(one(bytes)), "");

    // A single word wholly past the end, by a sum that wraps, is zero.
    font["glyf"].offset = 0xFFFFFFFE;
    font["glyf"].length = 4;
    EXPECT_EQ(fileProblems(font),
              "warning 11027 Glyf table checksum:  stored 101188356 calculated 0");
}

TEST_F(TrueTypeParser, OnlyTheMagicNumberOfHeadIsJudged) {
    EXPECT_EQ(fileProblems(goodFont().patch("head.magicNumber", 1)), "error 11103 1");
    SfntBuilder nonsense = goodFont();
    for (const char* tag : {"hhea", "hmtx", "post", "cmap", "glyf", "loca"}) {
        nonsense.table(tag, Bytes(40, 0xEE));
    }
    EXPECT_EQ(fileProblems(nonsense), "");
}

TEST_F(TrueTypeParser, OS2FillsTheFoundryOnlyWhenItIsEmpty) {
    const SfntBuilder font = goodFont().patch("OS/2.usWeightClass", 700);
    EXPECT_EQ(one(font).getAttribute(eWeight), "700");
    EXPECT_EQ(one(font).getAttribute(eFoundry), "Unknown");

    OxFont bare;
    bare.setAttribute(eFoundry, "Copyright nobody");
    ASSERT_EQ(bare.getAttribute(eFoundry), "");
    theFoundries.LoadFoundryNames(folder.write("names", "Test Foundry of Acme\n").string());
    theFoundries.LoadFoundryCodes(folder.write("codes", "XQ1\tTest Foundry of Acme\n").string());
    SfntBuilder vendor = font;
    std::copy_n("xq1 ", 4, vendor["OS/2"].data.begin() + 58);
    EXPECT_EQ(parseMemory(parser, vendor, bare).getAttribute(eFoundry), "Test Foundry of Acme");
    EXPECT_EQ(parseMemory(parser, font, bare).getAttribute(eFoundry), "Unknown");
}

// Tells what became of a table's bytes: 'hhea' lies over them, and its checksum is right when runs
// of fields (width, count; a negative width skips bytes) were reversed and nothing else was.
std::string problemsOfConversion(SfntBuilder font, const char* tag, std::uint32_t length,
                                 std::initializer_list<std::pair<int, int>> runs) {
    Bytes expected = font[tag].data;
    font["hhea"].offset = placeOf(expected, font);
    font["hhea"].length = static_cast<std::uint32_t>(expected.size());
    font[tag].length = length;
    font[tag].checksum = SfntBuilder::checksum(
        Bytes(expected.begin(), expected.begin() + std::ptrdiff_t{4} * ((length + 3) / 4)));
    std::size_t at = 0;
    for (const auto& [width, count] : runs) {
        const auto size = static_cast<std::size_t>(std::abs(width));
        for (int i = 0; i < count; ++i, at += size) {
            if (width > 0) {
                reverse(expected, at, size);
            }
        }
    }
    font["hhea"].checksum = SfntBuilder::checksum(expected);
    const TemporaryFolder folder;
    return problems(
        taken(OxParserTrueTypeImp(0).parseFontFile(folder.write("a.ttf", font))).front());
}

Bytes countingUp(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

TEST_F(TrueTypeParser, ConversionsInPlaceAreSeenByLaterTables) {
    Bytes head = countingUp(56);
    patch(head, 12, 4, 0x5F0F3CF5);
    // The halves of the first date stay in their order, the second date goes by words.
    EXPECT_EQ(problemsOfConversion(goodFont().table("head", head), "head", 54,
                                   {{4, 4}, {2, 2}, {4, 2}, {2, 9}}),
              "");
}

TEST_F(TrueTypeParser, OS2IsConvertedByGroupsOfItsLength) {
    const SfntBuilder font = goodFont().table("OS/2", countingUp(96));
    // The number of fields in the groups from offset 68 on, by the table's length; fsType, PANOSE
    // and the vendor are skipped.
    const struct {
        std::uint32_t length;
        int metrics, codePages, heights;
    } kGroups[] = {{68, 0, 0, 0}, {69, 5, 0, 0}, {78, 5, 0, 0},
                   {79, 5, 2, 0}, {86, 5, 2, 0}, {87, 5, 2, 5}};
    for (const auto& g : kGroups) {
        EXPECT_EQ(problemsOfConversion(font, "OS/2", g.length,
                                       {{2, 4},
                                        {-2, 1},
                                        {2, 11},
                                        {-10, 1},
                                        {4, 4},
                                        {-4, 1},
                                        {2, 3},
                                        {2, g.metrics},
                                        {4, g.codePages},
                                        {2, g.heights}}),
                  "")
            << g.length;
    }
}

TEST_F(TrueTypeParser, TheThirdEntryReadsKernAndAcceptsTwoVersions) {
    SfntBuilder font = goodFont().table("kern", bytesOf("xx"));
    ttf::tagFontDirectory directory{};
    const auto validate = [&](std::string_view version) {
        const auto file = folder.write("a.ttf", font.version(code(version)).build());
        return OxFont(taken(parser.validate(file, directory)).front());
    };
    const OxFont font1 = validate("true");
    EXPECT_EQ(directory.version, code("true"));
    EXPECT_EQ(directory.numTables, 11);
    EXPECT_EQ(font1.getAttribute(ePlatform), "Macintosh");
    EXPECT_EQ(problems(font1),
              "error 11801 Missing kerning table; error 11051 Invalid kerning table");
    EXPECT_EQ(fileProblems(font), "") << "a plain file's is not read";
    const OxFont font2 = validate("OTTO");
    EXPECT_EQ(problems(font2), "error -1003");
    EXPECT_EQ(font2.getFontType(), OxFont::TTF);
}

TEST_F(TrueTypeParser, TheMemoryEntryKeepsTheGivenRecord) {
    OxFont given;
    given.setAttribute(eFileName, "suitcase");
    const OxFont font = parseMemory(parser, goodFont(), given);
    EXPECT_EQ(font.getAttribute(eFileName), "suitcase");
    EXPECT_EQ(font.getAttribute(ePlatform), "");
    EXPECT_EQ(font.getAttribute(eFingerprint), digestOf(goodFont()));
    EXPECT_EQ(font.getFontType(), OxFont::TTF);
    EXPECT_EQ(given.attributes().size(), 2u) << "the caller's record is not touched";
}

}  // namespace
