#include "OxParserTrueTypeImp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>

#include "BigEndian.h"
#include "FontFoundryList.h"
#include "SfntBuilder.h"
#include "SfntTables.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using FontList = std::unique_ptr<boost::ptr_vector<OxFont>>;

class TrueTypeParser : public testing::Test {
  protected:
    OxFont parse(const Bytes& bytes) {
        const FontList fonts(parser.parseFontFile(folder.write("Acme.ttf", bytes)));
        EXPECT_EQ(fonts->size(), 1u);
        return OxFont(fonts->front());
    }
    OxFont parse(const SfntBuilder& font) { return parse(font.build()); }
    Lines problems(const SfntBuilder& font) { return diagnosticLines(parse(font)); }

    /// Diagnostics of the in-memory entry, which reads 'kern'.
    Lines memoryProblems(const SfntBuilder& font) { return diagnosticLines(parseMemory(font)); }
    OxFont parseMemory(const SfntBuilder& font, OxFont start = OxFont()) {
        Bytes bytes = font.build();
        std::vector<ttf::tagFontDirectory> aligned(bytes.size() / 12 + 1);
        auto* memory = reinterpret_cast<std::uint8_t*>(aligned.data());
        std::copy(bytes.begin(), bytes.end(), memory);
        const FontList fonts(
            parser.validate(start, aligned[0], static_cast<std::uint32_t>(bytes.size())));
        EXPECT_EQ(fonts->size(), 1u);
        return OxFont(fonts->front());
    }

    TemporaryFolder folder;
    OxParserTrueTypeImp parser{0};
};

TEST_F(TrueTypeParser, AGoodFontHasItsAttributesAndNoDiagnostics) {
    const Bytes bytes = SfntBuilder::goodFont().build();
    const OxFont font = parse(bytes);
    EXPECT_THAT(diagnosticLines(font), IsEmpty());
    const std::map<std::string, std::string> expected = {
        {"FontFilePath", folder.path().string()},
        {"FileName", "Acme.ttf"},
        {"Platform", "MacOrWindows"},
        {"Type", "TTF"},
        {"FingerPrint", md5Hex(ByteView(bytes.data(), bytes.size()))},
        {"Foundry", "Unknown"},
        {"Copyright", "\xC2\xA9 Acme"},
        {"Familyname", "Acme Sans"},
        {"SubFamilyname", "Bold"},
        {"UniqueId", "Acme Sans Bold:2001"},
        {"Fullname", "Acme Sans Bold"},
        {"Version", "Version 1.0"},
        {"Postscriptname", "AcmeSans-Bold"},
        {"Trademark", "Acme is a trademark"},
        {"Weight", "400"},
        {"Width", "5"},
    };
    EXPECT_EQ(font.attributes(), expected);
}

TEST_F(TrueTypeParser, TakesFilesByExtensionAlone) {
    for (const char* taken : {"a.ttf", "a.TTF", "a.tTf", ".ttf", "a.b.ttf"}) {
        EXPECT_TRUE(parser.inspectFont(taken)) << taken;
    }
    for (const char* left : {"a.otf", "ttf", "a.ttf2", "a.", "a.ttf.bak"}) {
        EXPECT_FALSE(parser.inspectFont(left)) << left;
    }
    EXPECT_TRUE(parser.diagnoseFont("x"));
    EXPECT_TRUE(parser.repairFont("x"));
}

TEST_F(TrueTypeParser, TheVersionDecidesPlatformAndType) {
    struct Case {
        std::uint32_t version;
        const char* platform;
        int type;
        Lines diagnostics;
    };
    const Case cases[] = {
        {0x00010000, "MacOrWindows", 5, {}},
        {fourCharCode("OTTO"), "Open Type", 8, {}},
        {fourCharCode("true"), "Macintosh", 5, {}},
        {fourCharCode("typ1"), "Macintosh", 0, {}},
        {fourCharCode("ttcf"), "", 5, {"error -1003"}},
        {0x00020000, "", 5, {"error -1003"}},
    };
    for (const Case& c : cases) {
        const OxFont font = parse(SfntBuilder::goodFont().version(c.version));
        EXPECT_EQ(font.getAttribute(ePlatform), c.platform);
        EXPECT_EQ(font.getFontType(), c.type);
        EXPECT_EQ(diagnosticLines(font), c.diagnostics);
        EXPECT_EQ(font.getAttribute(eFingerprint).empty(), !c.diagnostics.empty());
    }
}

TEST_F(TrueTypeParser, AFileOf27BytesIsTooShortAndOneOf28IsJudged) {
    Bytes bytes = SfntBuilder::goodFont().build();
    bytes.resize(27);
    EXPECT_THAT(diagnosticLines(parse(bytes)), ElementsAre("error 10000 (file length=27 )"));
    EXPECT_EQ(parse(bytes).getFontType(), OxFont::notSure);
    bytes.resize(28, 0);
    EXPECT_THAT(diagnosticLines(parse(Bytes(28))), ElementsAre("error -1003"));
    EXPECT_THAT(diagnosticLines(parse(Bytes())), ElementsAre("error 10000 (file length=0 )"));
}

TEST_F(TrueTypeParser, OnlyRegularFilesHaveAReadableStatus) {
    const auto fifo = folder.path() / "pipe.ttf";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const auto& path : {fifo, folder.path() / "missing.ttf", folder.path()}) {
        const FontList fonts(parser.parseFontFile(path));
        EXPECT_THAT(diagnosticLines(fonts->front()), ElementsAre("error 2"));
        EXPECT_EQ(fonts->front().attributes().size(), 3u);
    }
}

TEST_F(TrueTypeParser, AFileOfTwoGigabytesIsNotRead) {
    const auto file = folder.write("Huge.ttf", SfntBuilder::goodFont().build());
    ASSERT_EQ(::truncate(file.c_str(), 1L << 31), 0);
    const FontList fonts(parser.parseFontFile(file));
    EXPECT_THAT(diagnosticLines(fonts->front()),
                ElementsAre("error 0 Font file is too large to read"));
}

TEST_F(TrueTypeParser, MoreThan36TablesAreNotRead) {
    SfntBuilder font = SfntBuilder::goodFont();
    EXPECT_THAT(problems(font.tableCount(37)), ElementsAre("error 11001"));
    EXPECT_EQ(parse(font).getAttribute(eFingerprint).size(), 32u);
    EXPECT_EQ(parse(font).getAttribute(eFamilyname), "");
    EXPECT_THAT(memoryProblems(font), ElementsAre("error 11001"));
    for (int i = 0; i < 26; ++i) {
        font.table("XX" + std::to_string(10 + i), bytesOf("data"));
    }
    EXPECT_THAT(problems(font.tableCount(36)), IsEmpty());
    EXPECT_THAT(problems(font.tableCount(0)), IsEmpty());
    EXPECT_EQ(parse(font).getAttribute(eFamilyname), "");
}

TEST_F(TrueTypeParser, ADirectoryPastTheEndEndsTheWalkAndKeepsWhatWasRead) {
    Bytes bytes = SfntBuilder::goodFont().build();
    // Ten tables, but the file ends inside the directory's fifth record.
    bytes.resize(12 + 4 * 16 + 15);
    const Lines lines = diagnosticLines(parse(bytes));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "error 0 Table directory goes past the end of the font data");
    EXPECT_EQ(lines.front(), "error 11013 OS/2");
}

TEST_F(TrueTypeParser, ASignatureTableMakesItAnOpenTypeFont) {
    EXPECT_EQ(parse(SfntBuilder::goodFont().table("DSIG", Bytes(8))).getFontType(), OxFont::OTTT);
}

TEST_F(TrueTypeParser, ATableOutsideTheImageIsSkipped) {
    SfntBuilder font = SfntBuilder::goodFont();
    const auto size = static_cast<std::uint32_t>(font.build().size());
    font["name"].length = size;
    EXPECT_THAT(problems(font), ElementsAre("error 11013 name"));
    EXPECT_EQ(parse(font).getAttribute(eFamilyname), "");

    // Unknown tables are tested as well; the text is always four characters.
    font = SfntBuilder::goodFont().table(std::string("\0x\0y", 4), Bytes(4));
    font[std::string("\0x\0y", 4)].offset = 0x7FFFFFFF;
    EXPECT_EQ(parse(font).diagnostics().at(0).text, std::string("\0x\0y", 4));
}

TEST_F(TrueTypeParser, AStructureMustFitButOldOS2TablesPass) {
    SfntBuilder font;
    font.table("OS/2", BigEndian().zeros(78)).table("maxp", BigEndian().u32(0x5000).u16(1));
    const Lines lines = problems(font);
    EXPECT_THAT(lines, ElementsAre("error 11013 maxp"));
    EXPECT_EQ(OxParserTrueTypeImp::getTableStructureSize(static_cast<int>(fourCharCode("OS/2"))),
              96);
    EXPECT_EQ(OxParserTrueTypeImp::getTableStructureSize(static_cast<int>(fourCharCode("head"))),
              46);
    EXPECT_EQ(OxParserTrueTypeImp::getTableStructureSize(0), 0);
    EXPECT_FALSE(parser.preflightTable(nullptr, *std::make_unique<OxFont>(), 100));
}

TEST_F(TrueTypeParser, EachTablesChecksumIsCompared) {
    const std::pair<const char*, const char*> cases[] = {
        {"OS/2", "warning 11032 OS/2 table checksum:  stored 1234 calculated "},
        {"cmap", "warning 11024 Character map table checksum:  stored 1234 calculated "},
        {"glyf", "warning 11027 Glyf table checksum:  stored 1234 calculated "},
        {"head", "warning 11025 Font header table checksum:  stored= 1234 calculated "},
        {"hhea", "warning 11026 Horiziontal header table checksum:  stored 1234 calculated "},
        {"hmtx", "warning 11028 Horizontal metrics table checksum:  stored 1234 calculated "},
        {"loca", "warning 11029 Glyf location table checksum:  stored 1234 calculated "},
        {"maxp", "warning 11030 Maximum Profile Table checksum:  stored 1234 calculated "},
        {"name", "warning 11031 Name Table checksum:  stored 1234 calculated "},
        {"post", "warning 11033 Postscript table checksum:  stored 1234 calculated "},
        {"kern", "warning 11052 Kerning table checksum:  stored 1234 calculated "},
    };
    for (const auto& [tag, line] : cases) {
        SfntBuilder font = SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({1}));
        const std::uint32_t sum = SfntBuilder::checksum(font[tag].data);
        font[tag].checksum = 1234;
        EXPECT_THAT(memoryProblems(font), ElementsAre(line + std::to_string(sum)));
        EXPECT_THAT(parse(font).getAttribute(eFamilyname), "Acme Sans") << "it is still read";
    }
}

TEST_F(TrueTypeParser, AReaderThatRunsPastTheEndFailsWithItsCode) {
    // Offset and length add up to less than the image by wrapping, so the preflight lets it pass.
    const std::pair<const char*, Lines> cases[] = {
        {"OS/2", {"error 0 os2:  ", "error 11022"}},
        {"cmap", {"error 0 cmap:  ", "error 11014"}},
        {"glyf", {"error 0 glyf:  ", "error 11017"}},
        {"head", {"error 0 head:  ", "error 11015"}},
        {"hhea", {"error 0 hhea:  ", "error 11016"}},
        {"hmtx", {"error 0 hmtx:  ", "error 11018"}},
        {"loca", {"error 0 loca:  ", "error 11019"}},
        {"maxp", {"error 0 maxp:  ", "error 11020"}},
        {"name", {"error 0 name:  ", "error 11021"}},
        {"post", {"error 0 os2:  ", "error 11023"}},
        {"kern", {"error 0 kern:  ", "error 11051 Invalid kerning table"}},
    };
    for (const auto& [tag, expected] : cases) {
        SfntBuilder font = SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({1}));
        font[tag].offset = 0xFFFFFFFD;
        font[tag].length = 0x80;
        Lines lines = memoryProblems(font);
        ASSERT_EQ(lines.size(), 2u) << tag;
        EXPECT_EQ(lines[0], expected[0] + "read past the end of the font data");
        EXPECT_EQ(lines[1], expected[1]);
    }
}

TEST_F(TrueTypeParser, ChecksumsOfOddLengths) {
    struct Case {
        std::uint32_t length;
        std::uint32_t sum;
    };
    // The last word takes in what follows the table: 'glyf' is six bytes and two of padding.
    const Bytes words = BigEndian().u32(0x01020304).u32(0x05060708).u32(0x90000000);
    std::vector<std::uint32_t> memory(3);
    std::copy(words.begin(), words.end(), reinterpret_cast<std::uint8_t*>(memory.data()));
    const Case cases[] = {{0, 0},          {1, 0x01020304}, {4, 0x01020304}, {5, 0x06080A0C},
                          {8, 0x06080A0C}, {9, 0x96080A0C}, {0xFFFFFFFD, 0}, {0x80000000, 0}};
    for (const Case& c : cases) {
        EXPECT_EQ(parser.calcTableChecksum(memory.data(), c.length), c.sum) << c.length;
    }
    EXPECT_EQ(OxParserTrueTypeImp::endian_swaplong(0x01020304), 0x04030201u);
    EXPECT_EQ(OxParserTrueTypeImp::endian_swapword(0x0102), 0x0201u);
    EXPECT_FALSE(OxParserTrueTypeImp::is_big_endian());
}

TEST_F(TrueTypeParser, AChecksumsLastWordMayEndPastTheImage) {
    SfntBuilder font;
    font.table("glyf", BigEndian().u32(0x01020304).u16(0x0506));
    Bytes bytes = font.build();
    bytes.resize(bytes.size() - 2);
    EXPECT_THAT(diagnosticLines(parse(bytes)), IsEmpty());

    // A single word wholly past the end, by a sum that wraps, is zero.
    font["glyf"].offset = 0xFFFFFFFE;
    font["glyf"].length = 4;
    EXPECT_THAT(problems(font), ElementsAre("warning 11027 Glyf table checksum:  stored 101188356 "
                                            "calculated 0"));
}

TEST_F(TrueTypeParser, OnlyTheMagicNumberOfHeadIsJudged) {
    EXPECT_THAT(problems(SfntBuilder::goodFont().patch("head.magicNumber", 1)),
                ElementsAre("error 11103 1"));
    SfntBuilder nonsense = SfntBuilder::goodFont();
    for (const char* tag : {"hhea", "hmtx", "post", "cmap", "glyf", "loca"}) {
        nonsense.table(tag, Bytes(40, 0xEE));
    }
    EXPECT_THAT(problems(nonsense), IsEmpty());
}

TEST_F(TrueTypeParser, OS2FillsTheFoundryOnlyWhenItIsEmpty) {
    const SfntBuilder font = SfntBuilder::goodFont().patch("OS/2.usWeightClass", 700);
    EXPECT_EQ(parse(font).getAttribute(eWeight), "700");
    EXPECT_EQ(parse(font).getAttribute(eFoundry), "Unknown");

    OxFont bare;
    bare.setAttribute(eFoundry, "Copyright nobody");
    ASSERT_EQ(bare.getAttribute(eFoundry), "");
    const auto names = folder.write("names.txt", "Test Foundry of Acme\n");
    const auto codes = folder.write("codes.txt", "XQ1\tTest Foundry of Acme\n");
    theFoundries.LoadFoundryNames(names.string());
    theFoundries.LoadFoundryCodes(codes.string());
    SfntBuilder vendor = font;
    std::copy_n("xq1 ", 4, vendor["OS/2"].data.begin() + 58);
    EXPECT_EQ(parseMemory(vendor, bare).getAttribute(eFoundry), "Test Foundry of Acme");
    EXPECT_EQ(parseMemory(font, bare).getAttribute(eFoundry), "Unknown");
}

TEST_F(TrueTypeParser, ConversionsInPlaceAreSeenByLaterTables) {
    // 'post' lies where 'head' does: 'head' was converted before its checksum is taken.
    SfntBuilder font = SfntBuilder::goodFont();
    Bytes head = font["head"].data;
    const Bytes file = font.build();
    const auto place =
        std::search(file.begin(), file.end(), head.begin(), head.end()) - file.begin();
    font["post"].offset = static_cast<std::uint32_t>(place);
    font["post"].length = 16;
    font["post"].checksum = 0;
    Bytes converted = head;
    for (std::size_t i = 0; i < 16; i += 4) {
        std::reverse(converted.begin() + static_cast<long>(i),
                     converted.begin() + static_cast<long>(i) + 4);
    }
    converted.resize(16);
    EXPECT_THAT(problems(font),
                ElementsAre("warning 11033 Postscript table checksum:  stored 0 calculated " +
                            std::to_string(SfntBuilder::checksum(converted))));
}

TEST_F(TrueTypeParser, OS2IsConvertedByGroupsOfItsLength) {
    struct Case {
        std::uint32_t length;
        std::size_t converted;  // bytes from offset 68 on
    };
    for (const Case& c :
         {Case{68, 0}, Case{69, 10}, Case{78, 10}, Case{79, 18}, Case{86, 18}, Case{87, 28}}) {
        SfntBuilder font = SfntBuilder::goodFont();
        Bytes os2(96);
        for (std::size_t i = 68; i < 96; ++i) {
            os2[i] = static_cast<std::uint8_t>(i);
        }
        font.table("OS/2", os2).table("hhea", Bytes(36));
        font["OS/2"].length = c.length;
        Bytes head(os2.begin(), os2.begin() + c.length);
        head.resize((c.length + 3) / 4 * 4);
        std::copy(os2.begin() + c.length, os2.begin() + static_cast<long>(head.size()),
                  head.begin() + c.length);
        font["OS/2"].checksum = SfntBuilder::checksum(head);
        // 'hhea' looks at the bytes from 68 on; its checksum shows which of them were converted.
        const Bytes file = font.build();
        const auto place =
            std::search(file.begin(), file.end(), os2.begin() + 68, os2.end()) - file.begin();
        font["hhea"].offset = static_cast<std::uint32_t>(place);
        font["hhea"].length = 28;
        Bytes expected(os2.begin() + 68, os2.end());
        for (std::size_t i = 0; i < c.converted;) {
            const std::size_t width = i >= 10 && i < 18 ? 4 : 2;
            std::reverse(expected.begin() + static_cast<long>(i),
                         expected.begin() + static_cast<long>(i + width));
            i += width;
        }
        font["hhea"].checksum = SfntBuilder::checksum(expected);
        EXPECT_THAT(problems(font), IsEmpty()) << c.length;
    }
}

TEST_F(TrueTypeParser, TheThirdEntryReadsKernAndAcceptsTwoVersions) {
    SfntBuilder font = SfntBuilder::goodFont().table("kern", bytesOf("xx"));
    const auto file = folder.write("a.ttf", font.version(fourCharCode("true")).build());
    ttf::tagFontDirectory directory{};
    FontList fonts(parser.validate(file, directory));
    EXPECT_EQ(directory.version, fourCharCode("true"));
    EXPECT_EQ(directory.numTables, 11);
    EXPECT_EQ(fonts->front().getAttribute(ePlatform), "Macintosh");
    EXPECT_THAT(diagnosticLines(fonts->front()), ElementsAre("error 11801 Missing kerning table",
                                                             "error 11051 Invalid kerning table"));

    folder.write("a.ttf", font.version(fourCharCode("OTTO")).build());
    fonts.reset(parser.validate(file, directory));
    EXPECT_THAT(diagnosticLines(fonts->front()), ElementsAre("error -1003"));
    EXPECT_EQ(fonts->front().getFontType(), OxFont::TTF);
}

TEST_F(TrueTypeParser, TheMemoryEntryKeepsTheGivenRecord) {
    OxFont given;
    given.setAttribute(eFileName, "suitcase");
    const Bytes bytes = SfntBuilder::goodFont().build();
    const OxFont font = parseMemory(SfntBuilder::goodFont(), given);
    EXPECT_EQ(font.getAttribute(eFileName), "suitcase");
    EXPECT_EQ(font.getAttribute(ePlatform), "");
    EXPECT_EQ(font.getAttribute(eFingerprint), md5Hex(ByteView(bytes.data(), bytes.size())));
    EXPECT_EQ(font.getFontType(), OxFont::TTF);
    EXPECT_EQ(given.attributes().size(), 2u) << "the caller's record is not touched";
}

// Every truncation and every flipped header byte must end in a record, whatever it says.
TEST_F(TrueTypeParser, DamagedFilesAlwaysYieldOneRecord) {
    const Bytes good =
        SfntBuilder::goodFont().table("kern", SfntBuilder::kernTable({2, 1})).build();
    for (std::size_t length = 0; length <= good.size(); ++length) {
        parse(Bytes(good.begin(), good.begin() + static_cast<long>(length)));
    }
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const unsigned flip : {0x01u, 0x80u, 0xFFu}) {
            Bytes bytes = good;
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ flip);
            parse(bytes);
        }
    }
}

}  // namespace
