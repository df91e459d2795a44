#include "OxParserPSOutlineImp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "MacFontBuilder.h"
#include "PostScriptTokens.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using Kind = PostScriptToken::Kind;

class PrinterFont : public testing::Test {
  protected:
    OxFont parseFile(const boost::filesystem::path& file) {
        const std::int16_t before = CurResFile();
        OxParserPSOutlineImp parser;
        const std::unique_ptr<boost::ptr_vector<OxFont>> fonts(parser.parseFontFile(file));
        EXPECT_EQ(CurResFile(), before);
        EXPECT_EQ(fonts->size(), 1u);
        return OxFont(fonts->front());
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
    const std::map<std::string, std::string> expected = {
        {eFontFilePath, folder.path().string()},
        {eFileName, "AcmeBol"},
        {eType, "T1Outline"},
        {eFoundry, "Acme Fonts"},
        {eCopyright, "Copyrighted \xC2\xA9 acme fonts"},
        {eFontVersion, "001.005"},
        {eFullname, "Acme (TM) Bold"},
        {eFamilyname, "Acme"},
        {ePostscriptname, "Acme-Bold"},
    };
    EXPECT_EQ(font.attributes(), expected);
    EXPECT_THAT(font.diagnostics(), IsEmpty());
}

TEST_F(PrinterFont, ChunksAreJoinedById) {
    const std::string program = type1Program();
    const std::size_t half = program.find("FamilyName");
    ResourceForkBuilder fork;
    const auto chunk = [](int kind, const std::string& text) {
        Bytes bytes = {static_cast<std::uint8_t>(kind), 0};
        append(bytes, text);
        return bytes;
    };
    fork.add("POST", 505, chunk(5, ""))
        .add("POST", 504, {})  // real fonts hold empty chunks
        .add("POST", 503, chunk(1, program.substr(half)))
        .add("POST", 502, chunk(0, "/FontName /Comment def"))
        .add("POST", 501, chunk(1, program.substr(0, half)));
    const OxFont font = parse(fork);
    EXPECT_EQ(font.getAttribute(eFamilyname), "Acme");
    EXPECT_EQ(font.getAttribute(ePostscriptname), "Acme-Bold");
    EXPECT_THAT(font.diagnostics(), IsEmpty());
}

TEST_F(PrinterFont, TheProgramMayBeInTheDataFork) {
    const auto fork = postChunks({{4, ""}, {5, ""}});
    Bytes pfb = {0x80, 1, 0xFF, 1, 0, 0};
    append(pfb, type1Program());
    EXPECT_EQ(parse(fork, pfb).getAttribute(ePostscriptname), "Acme-Bold");
    EXPECT_THAT(diagnosticLines(parse(fork)),
                ElementsAre("error 0 Corrupt Font:  No program in data fork",
                            "error 0 Corrupt Font:  No font dictionary"));
}

TEST_F(PrinterFont, DamagedChunksAreReported) {
    const std::string program = type1Program();
    EXPECT_THAT(diagnosticLines(parse(ResourceForkBuilder().add("NFNT", 1, {}))),
                ElementsAre("error 0 Corrupt Font:  No POST resources",
                            "error 0 Corrupt Font:  No font dictionary"));
    EXPECT_THAT(diagnosticLines(parse(postChunks({{1, program}, {2, "x"}}))),
                ElementsAre("error 0 Corrupt Font:  No end in POST resources"));
    EXPECT_THAT(diagnosticLines(parse(postChunks({{1, program}, {3, ""}, {9, ""}}))), IsEmpty())
        << "what follows the end is not looked at";
    EXPECT_THAT(diagnosticLines(parse(postChunks({{1, program}, {9, "x"}, {5, ""}}))),
                ElementsAre("error 0 Corrupt Font:  Invalid kind of POST resource 502"));

    ResourceForkBuilder gap = postChunks({{1, program}});
    gap.add("POST", 503, {5, 0});
    EXPECT_THAT(diagnosticLines(parse(gap)),
                ElementsAre("error 0 Corrupt Font:  Missing POST resource 502.  Err= -192"));

    ResourceForkBuilder lengths = postChunks({{1, program}});
    lengths.add("POST", 502, {1}).add("POST", 503, {5, 1});
    EXPECT_THAT(diagnosticLines(parse(lengths)),
                ElementsAre("error 0 Corrupt Font:  Invalid size of POST resource 502",
                            "error 0 Corrupt Font:  Invalid tag of POST resource 503"));
}

TEST_F(PrinterFont, FilesThatDoNotOpenYieldARecordThatSaysSo) {
    EXPECT_THAT(diagnosticLines(parseFile(folder.write("plain", "text"))),
                ElementsAre("error 0 Corrupt Font:  Cannot open file.  Err= -39"));
    EXPECT_THAT(diagnosticLines(parseFile(folder.path() / "missing")),
                ElementsAre("error 0 err == noErr"));
    EXPECT_FALSE(OxParserPSOutlineImp().inspectFont(folder.path() / "plain"));
}

TEST_F(PrinterFont, Type3ProgramsMayNameTheFontInAComment) {
    const OxFont font = parse(
        "%!PS-Adobe-3.0\n%%Creator: Acme Press\n%%FontName: Acme-Deco\n"
        "8 dict begin\n/FontType 3 def\n%%FontName: Late\n"
        "/BuildGlyph { /FontName /Inside def } bind def\nend\n");
    EXPECT_EQ(font.getAttribute(ePostscriptname), "Acme-Deco");
    EXPECT_EQ(font.getFontType(), OxFont::T3Outline);
    EXPECT_THAT(font.diagnostics(), IsEmpty());
    EXPECT_EQ(
        parse("%%FontName: A\n/FontType 3 def /FontName /B def").getAttribute(ePostscriptname),
        "B");
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
    EXPECT_EQ(parse("/FontInfo 1 dict def FontInfo begin /FullName (A) def end /FontType 1 def")
                  .getAttribute(eFullname),
              "A");
    EXPECT_EQ(parse("/FontInfo << /FullName (A) >> def /FullName (B) /FontType 1 def")
                  .getAttribute(eFullname),
              "A");
    EXPECT_EQ(
        parse("/FontInfo Known def /FontName /A def /FontType 1 def").getAttribute(ePostscriptname),
        "A");
}

TEST_F(PrinterFont, AFontTypeThatIsNone) {
    for (const char* program : {"/FontName /A def", "/FontName /A def /FontType 42 def",
                                "/FontName /A def /FontType /FontType def"}) {
        const OxFont font = parse(program);
        EXPECT_EQ(font.getFontType(), OxFont::T1Outline);
        EXPECT_THAT(diagnosticLines(font), ElementsAre("error 0 Corrupt Font:  Invalid font type"));
    }
}

TEST_F(PrinterFont, LongNoticesAreKeptWhole) {
    const std::string notice(1000, '\xA9');
    const OxFont font = parse("/FontInfo 1 dict begin /Notice (" + notice + ") def end");
    EXPECT_EQ(font.getAttribute(eCopyright).size(), 2000u);
}

std::vector<std::string> tokensOf(std::string_view program) {
    PostScriptTokens tokens(program);
    std::vector<std::string> texts;
    for (auto token = tokens.next(); token.kind != Kind::eEnd; token = tokens.next()) {
        texts.push_back((token.kind == Kind::eString ? "s:" : "") + token.text);
    }
    return texts;
}

TEST(PostScriptTokens, StringsWithNestingAndEscapes) {
    EXPECT_THAT(tokensOf("(a(b)c)(\\(\\)\\\\)(\\101\\0612\\7x)(\\n\\q)"),
                ElementsAre("s:a(b)c", "s:()\\", "s:A12\ax", "s:\nq"));
    EXPECT_THAT(tokensOf("(a\\\r\nb\\\nc)"), ElementsAre("s:abc"));
    EXPECT_THAT(tokensOf("(a\rb\r\nc\nd\r)"), ElementsAre("s:a\nb\nc\nd\n"));
    EXPECT_THAT(tokensOf("(a\r"), ElementsAre("s:a\n"));
    EXPECT_THAT(tokensOf("(open (still"), ElementsAre("s:open (still"));
    EXPECT_THAT(tokensOf("(ends in \\"), ElementsAre("s:ends in "));
}

TEST(PostScriptTokens, EverythingElse) {
    EXPECT_THAT(
        tokensOf("a/b/c[1 2]{x}<<k>><41 42>z"),
        ElementsAre("a", "/b", "/c", "[", "1", "2", "]", "{", "x", "}", "<<", "k", ">>", "z"));
    EXPECT_THAT(tokensOf("a%one\rb%two\r\nc%three\nd"),
                ElementsAre("a", "one", "b", "two", "c", "three", "d"));
    EXPECT_THAT(tokensOf(")>a<41"), ElementsAre(")", ">", "a"));
    EXPECT_THAT(tokensOf("/"), ElementsAre("/"));
    PostScriptTokens procedure("{a (}) {b} %}\n c} d");
    procedure.next();
    procedure.skipProcedure();
    EXPECT_EQ(procedure.next().text, "d");
}

TEST_F(PrinterFont, DamageAnywhereIsHarmless) {
    const std::string good = type1Program();
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (const char c : {'(', ')', '\\', '{', '<', '\0'}) {
            std::string program = good;
            program[at] = c;
            parse(program);
        }
        parse(good.substr(0, at));
    }
}

}  // namespace
