#include "OxParserPSOutlineImp.h"

#include "MacFontBuilder.h"
#include "UnitTest.h"

namespace {

constexpr char kCorrupt[] = "error 0 Corrupt Font:  ";

class PrinterFont : public testing::Test {
  protected:
    OxFont parseFile(const boost::filesystem::path& file) {
        const std::int16_t before = CurResFile();
        const FontList fonts = taken(OxParserPSOutlineImp().parseFontFile(file));
        EXPECT_EQ(CurResFile(), before);
        EXPECT_THAT(fonts, SizeIs(1));
        return OxFont(fonts.front());
    }
    OxFont parse(const ResourceForkBuilder& fork, const Bytes& dataFork = {}) {
        MacBinaryOptions options;
        options.type = "LWFN";
        options.dataFork = dataFork;
        return parseFile(folder.write("AcmeBol", macBinary(fork.build(), options)));
    }
    OxFont parse(const std::string& program) { return parse(postChunks({{1, program}, {5, ""}})); }
    TemporaryFolder folder;
};

TEST_F(PrinterFont, TheDictionaryFillsTheRecord) {
    const OxFont font = parse(type1Program());
    const Attributes expected = {{eFontFilePath, folder.path().string()},
                                 {eFileName, "AcmeBol"},
                                 {eType, "T1Outline"},
                                 {eFoundry, "Acme Fonts"},
                                 {eCopyright, "Copyrighted \xC2\xA9 acme fonts"},
                                 {eFontVersion, "001.005"},
                                 {eFullname, "Acme (TM) Bold"},
                                 {eFamilyname, "Acme"},
                                 {ePostscriptname, "Acme-Bold"}};
    EXPECT_EQ(font.attributes(), expected);
    EXPECT_EQ(problems(font), "");
}

TEST_F(PrinterFont, ChunksAreJoinedById) {
    const std::string program = type1Program();
    const std::size_t half = program.find("FamilyName");
    ResourceForkBuilder fork;
    const auto chunk = [](int kind, std::string_view text) {
        return BigEndian().u8(kind).u8(0).text(text);
    };
    fork.add("POST", 505, chunk(5, ""))
        .add("POST", 504, {})  // real fonts hold empty chunks
        .add("POST", 503, chunk(1, program.substr(half)))
        .add("POST", 502, chunk(0, "/FontName /Comment def"))
        .add("POST", 501, chunk(1, program.substr(0, half)));
    const OxFont font = parse(fork);
    EXPECT_EQ(font.getAttribute(eFamilyname), "Acme");
    EXPECT_EQ(font.getAttribute(ePostscriptname), "Acme-Bold");
    EXPECT_EQ(problems(font), "");
}

TEST_F(PrinterFont, TheProgramMayBeInTheDataFork) {
    const auto fork = postChunks({{4, ""}, {5, ""}});
    Bytes pfb = {0x80, 1, 0xFF, 1, 0, 0};
    append(pfb, bytesOf(type1Program()));
    EXPECT_EQ(parse(fork, pfb).getAttribute(ePostscriptname), "Acme-Bold");
    EXPECT_EQ(problems(parse(fork)), std::string(kCorrupt) + "No program in data fork; " +
                                         kCorrupt + "No font dictionary");
}

TEST_F(PrinterFont, DamagedChunksAreReported) {
    const std::string program = type1Program();
    const auto chunks = [&](std::vector<std::pair<int, std::string>> more) {
        more.insert(more.begin(), {1, program});
        return postChunks(more);
    };
    const std::string corrupt = kCorrupt;
    const std::pair<ResourceForkBuilder, std::string> kCases[] = {
        {ResourceForkBuilder().add("NFNT", 1, {}),
         corrupt + "No POST resources; " + corrupt + "No font dictionary"},
        {chunks({{2, "x"}}), corrupt + "No end in POST resources"},
        {chunks({{3, ""}, {9, ""}}), ""},  // what follows the end is not looked at
        {chunks({{9, "x"}, {5, ""}}), corrupt + "Invalid kind of POST resource 502"},
        {chunks({}).add("POST", 503, {5, 0}), corrupt + "Missing POST resource 502.  Err= -192"},
        {chunks({}).add("POST", 502, {1}).add("POST", 503, {5, 1}),
         corrupt + "Invalid size of POST resource 502; " + corrupt +
             "Invalid tag of POST resource 503"}};
    for (const auto& [fork, text] : kCases) {
        EXPECT_EQ(problems(parse(fork)), text);
    }
}

TEST_F(PrinterFont, FilesThatDoNotOpenYieldARecordThatSaysSo) {
    EXPECT_EQ(problems(parseFile(folder.write("plain", "text"))),
              std::string(kCorrupt) + "Cannot open file.  Err= -39");
    EXPECT_EQ(problems(parseFile(folder.path() / "missing")), "error 0 err == noErr");
    EXPECT_FALSE(OxParserPSOutlineImp().inspectFont(folder.path() / "plain"));
}

TEST_F(PrinterFont, Type3ProgramsMayNameTheFontInAComment) {
    const OxFont font = parse(
        "%!PS-Adobe-3.0\n%%Creator: Acme Press\n%%FontName: Acme-Deco\n"
        "8 dict begin\n/FontType 3 def\n%%FontName: Late\n"
        "/BuildGlyph { /FontName /Inside def } bind def\nend\n");
    EXPECT_EQ(font.getAttribute(ePostscriptname), "Acme-Deco");
    EXPECT_EQ(font.getFontType(), OxFont::T3Outline);
    EXPECT_EQ(problems(font), "");
}

TEST_F(PrinterFont, KeysCountInTheirDictionaryAndOnce) {
    const OxFont font = parse(
        "/FamilyName (outside) def /FontInfo 9 dict dup begin /FAMILYNAME (first) def\n"
        "/FamilyName (second) def /Copyright (copyright) def end def /version (late) def\n"
        "/FontType 1 def /FontName /A def currentfile eexec /FullName (x) /FontName /B def");
    EXPECT_EQ(font.getAttribute(eFamilyname), "first");
    EXPECT_EQ(font.getAttribute(eFontVersion), "");
    EXPECT_EQ(font.getAttribute(eCopyright), "copyright");
    EXPECT_EQ(font.getAttribute(ePostscriptname), "A");
    for (const Lines& row : rowsOf("font-programs.tsv")) {
        EXPECT_EQ(parse(row.at(0)).getAttribute(row.at(1)), row.at(2)) << row[0];
    }
}

TEST_F(PrinterFont, AFontTypeThatIsNone) {
    for (const char* program :
         {"/FontName /A def", "/FontName /A def /FontType 42 def",
          "/FontName /A def /FontType /FontType def", "/FontInfo 1 dict begin end"}) {
        const OxFont font = parse(program);
        EXPECT_EQ(font.getFontType(), OxFont::T1Outline);
        EXPECT_EQ(problems(font), std::string(kCorrupt) + "Invalid font type");
    }
}

TEST_F(PrinterFont, LongNoticesAreKeptWhole) {
    const std::string notice(1000, '\xA9');
    const OxFont font = parse("/FontInfo 1 dict begin /Notice (" + notice + ") def end");
    EXPECT_EQ(font.getAttribute(eCopyright).size(), 2000u);
}

}  // namespace
