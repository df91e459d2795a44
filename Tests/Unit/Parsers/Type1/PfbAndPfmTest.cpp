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
    for (const Lines& row : rowsOf("pfm-fields.tsv")) {
        const auto value = static_cast<std::uint32_t>(std::stoul(row.at(1)));
        EXPECT_EQ(problemsWith(row[0], value), row.at(2)) << row[0];
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
    const OxFont zeros = one(Bytes(199));
    std::string codes;
    for (const FontDiagnostic& diagnostic : zeros.diagnostics()) {
        codes += std::to_string(diagnostic.code) + " ";
    }
    EXPECT_EQ(codes,
              "15100 15106 15107 15108 15110 15112 15200 15210 15211 15208 15301 15303 15304 15305 "
              "15306 ");
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

}  // namespace
