#include "LogRecorder.h"
#include "OxParserPFBImp.h"
#include "OxParserPFMImp.h"
#include "Type1Builder.h"
#include "UnitTest.h"

namespace {

class Pfb : public ParserTest<OxParserPFBImp> {
  protected:
    Pfb() : ParserTest("font.pfb") {}
};

TEST_F(Pfb, RecordsNamesTypeAndFingerprint) {
    const Bytes bytes = pfbFile(acmeType1Text());
    const OxFont font = one(bytes);
    const Attributes expected = {
        {eFontFilePath, folder.path().string()},
        {eFileName, "font.pfb"},
        {eFingerprint, digestOf(bytes)},
        {ePostscriptname, "Acme-Bold"},
        {eFullname, "Acme Bold"},
        {eFamilyname, "Acme"},
        {eWeight, "(Bold)"},
        {eFontVersion, "001.003"},
        {eCopyright, "Copyrighted 1990 acme type inc. All (or most) rights"},
        // The name from the notice is looked up once more, as a text that names a foundry.
        {eFoundry, "Unknown"},
        {eType, "PFB"}};
    EXPECT_EQ(font.attributes(), expected);
    EXPECT_EQ(problems(font), "");
}

TEST_F(Pfb, AFileWithoutAProgramHasEmptyNames) {
    one(pfbFile(acmeType1Text()));
    for (const Bytes& bytes : {Bytes{}, bytesOf("no font"), Bytes(5000, 0x80)}) {
        const OxFont font = one(bytes);
        EXPECT_EQ(font.attributes().size(), 11u);
        EXPECT_EQ(font.getAttribute(ePostscriptname), "") << "nothing of the file before";
        EXPECT_EQ(font.getAttribute(eFoundry), "Unknown");
        EXPECT_EQ(font.getFontType(), OxFont::PFB);
        EXPECT_EQ(problems(font), "");
    }
}

TEST_F(Pfb, TextIsReadUpToTheEndOfAFileWithoutZeroBytes) {
    // A mebibyte: the buffer's own rounding leaves no room behind the file.
    std::string text = type1Text({"%!PS-AdobeFont-1.0: Acme"});
    const std::string last = "/Weight last";
    text += std::string((1u << 20) - text.size() - last.size() - 1, '.') + "\r" + last;
    EXPECT_EQ(one(bytesOf(text)).getAttribute(eWeight), "last");
    // A shorter file must not see what the longer one left in the buffer.
    EXPECT_EQ(one(bytesOf("%!PS-Adobe\r/Weight sh")).getAttribute(eWeight), "sh");
}

TEST_F(Pfb, DamageNeverEscapes) {
    const auto isPfb = [this](const Bytes& bytes) {
        EXPECT_EQ(one(bytes).getFontType(), OxFont::PFB);
    };
    forEachCut(pfbFile(acmeType1Text()), isPfb);
    forEachFlip(pfbFile(acmeType1Text()), {0xFF}, isPfb);
}

class Pfm : public ParserTest<OxParserPFMImp> {
  protected:
    Pfm() : ParserTest("font.pfm") {}

    std::string problemsWith(std::string_view field, std::uint32_t value) {
        return problems(one(PfmBuilder().set(field, value).bytes()));
    }
};

TEST_F(Pfm, AGoodFileHasNoDiagnostics) {
    const Bytes bytes = PfmBuilder().bytes();
    const OxFont font = one(bytes);
    EXPECT_EQ(problems(font), "");
    const Attributes expected = {{eFontFilePath, folder.path().string()},
                                 {eFileName, "font.pfm"},
                                 {eFoundry, "Unknown"},
                                 {eItalic, "false"},
                                 {eFingerprint, digestOf(bytes)}};
    EXPECT_EQ(font.attributes(), expected);
    for (const auto& [flags, italic] : {std::pair(1u, "true"), {0xFEu, "false"}}) {
        EXPECT_EQ(one(PfmBuilder().set("italic", flags).bytes()).getAttribute(eItalic), italic);
    }
}

TEST_F(Pfm, EveryRuleFiresAlone) {
    struct Case {
        const char* field;
        std::uint32_t value;
        const char* line;
    };
    static constexpr Case kCases[] = {
        {"version", 512, "warning 15100 header= 512"},
        {"version", 0, "warning 15100 header= 0"},
        {"size", 4000000000u, "warning 15105 size= 4000000000"},
        {"type", 0x0080, "warning 15106 type= 128"},
        {"vertical resolution", 65535, "warning 15107 vertical resolution= 65535"},
        {"horizontal resolution", 0, "warning 15108 horizontal resolution= 0"},
        {"width bytes", 2, "note 15109 width bytes= 2"},
        {"device", 0, "error 15110 device offset= 0"},
        {"device", 0xFFFFFFFF, "error 15111 device offset= 4294967295"},
        {"face", 0, "error 15112 face offset= 0"},
        {"face", 70000, "error 15113 face offset= 70000"},
        {"extension size", 28, "error 15200 extension size = 28"},
        {"metrics offset", 0, "error 15210 extension metrics offset = 0"},
        {"extents offset", 0, "error 15211 extents offset = 0"},
        {"origin offset", 0x80000000, "warning 15212 origin table offset = 2147483648"},
        {"kern pair offset", 70000, "error 15204 kern pair table offset = 70000"},
        {"kern track offset", 70000, "error 15205 kern track table offset = 70000"},
        {"reserved", 9, "warning 15207 extension reserved = 9"},
        {"driver offset", 70000, "error 15209 extension driver offset = 70000"},
        {"driver offset", 0, "error 15208 extension driver offset = 0"},
        {"metrics size", 53, "warning 15300 extended text metrics size = 53"},
        {"point size", 200, "note 15301 extended text metrics point size = 200"},
        {"orientation", 65535, "note 15302 extended text metrics orientation = 65535"},
        {"master height", 999, "note 15303 extended text metrics master height = 999"},
        {"min scale", 4, "note 15304 extended text metrics min scale = 4"},
        {"max scale", 2000, "note 15305 extended text metrics max scale = 2000"},
        {"master units", 2048, "note 15306 extended text metrics master units = 2048"},
        {"superscript", 5, "note 15306 extended text metrics superscript offset = 5"},
        // Borders: a smaller claim is fine.
        {"size", 1, ""},
        {"metrics size", 0, ""}};
    for (const Case& c : kCases) {
        EXPECT_EQ(problemsWith(c.field, c.value), c.line);
    }
    const std::uint32_t size = PfmBuilder().size();
    for (const char* field :
         {"size", "device", "face", "kern pair offset", "kern track offset", "driver offset"}) {
        EXPECT_EQ(problemsWith(field, size), "") << field;
        EXPECT_NE(problemsWith(field, size + 1), "") << field;
    }
}

TEST_F(Pfm, FileLengthsAroundTheMinimumAndTheOrderOfFindings) {
    for (const std::size_t length : {0u, 198u}) {
        const OxFont font = one(Bytes(length, 1));
        EXPECT_EQ(problems(font), "error 10000 file length = " + std::to_string(length));
        EXPECT_EQ(font.attributes().size(), 3u);
    }
    // The order of findings is the order of the rules, not of the fields.
    EXPECT_THAT(
        diagnosticLines(one(Bytes(199))),
        ElementsAre("warning 15100 header= 0", "warning 15106 type= 0",
                    "warning 15107 vertical resolution= 0",
                    "warning 15108 horizontal resolution= 0", "error 15110 device offset= 0",
                    "error 15112 face offset= 0", "error 15200 extension size = 0",
                    "error 15210 extension metrics offset = 0", "error 15211 extents offset = 0",
                    "error 15208 extension driver offset = 0",
                    "note 15301 extended text metrics point size = 0",
                    "note 15303 extended text metrics master height = 0",
                    "note 15304 extended text metrics min scale = 0",
                    "note 15305 extended text metrics max scale = 0",
                    "note 15306 extended text metrics master units = 0"));
    const OxFont full = one(Bytes(199, 0xFF));
    EXPECT_THAT(full.diagnostics(), SizeIs(22));
    EXPECT_LT(problems(full).find("15207"), problems(full).find("15209"))
        << "reserved before driver";
    EXPECT_EQ(diagnosticLines(full).back(),
              "note 15306 extended text metrics superscript offset = 65535");
}

TEST_F(Pfm, ChecksOutsideOfAParseReadNothing) {
    parse(PfmBuilder().bytes());
    OxFont font;
    EXPECT_TRUE(parser.check_T1_kernPairs(font));
    EXPECT_TRUE(parser.check_T1_kernTrack(font));
    EXPECT_THROW(parser.check_T1_header(font, 1000), ReadPastEnd);
    EXPECT_EQ(problems(font), "");
}

TEST_F(Pfm, LogsUnderThePfbParsersCategory) {
    const LogRecorder log;
    parse(PfmBuilder().bytes());
    EXPECT_THAT(log.lines(), ElementsAre("OxParserPFBImp INFO parseFontFile:  "));
}

TEST_F(Pfm, DamageNeverEscapes) {
    const auto isReadUnlessShort = [this](const Bytes& bytes) {
        EXPECT_EQ(one(bytes).attributes().count(eItalic), bytes.size() > 198 ? 1u : 0u);
    };
    forEachCut(PfmBuilder().bytes(), isReadUnlessShort);
    forEachFlip(PfmBuilder().bytes(), {0xFF}, isReadUnlessShort);
}

}  // namespace
