#include "OxParserPostscriptImp.h"

#include <sys/stat.h>

#include "MacFontBuilder.h"
#include "MacResourceTypes.h"
#include "UnitTest.h"

namespace {

class MacPostscript : public testing::Test {
  protected:
    OxFont parse(const Bytes& family, const std::string& name = "Helvetica",
                 const char* strikeType = "NFNT", const Bytes& strikeData = strike()) {
        const OpenResources open(
            ResourceForkBuilder().add("FOND", 2000, family, name).add(strikeType, 7, strikeData));
        const Handle fond = Get1Resource(kFondType, 2000);
        const AsscEntry entry = FondView(handleBytes(fond)).entry(0).value();
        const FontList fonts =
            taken(OxParserPostscriptImp().parseFont(folder.path() / "Suitcase", fond, &entry, 0));
        EXPECT_EQ(CurResFile(), open.reference());
        EXPECT_THAT(fonts, SizeIs(1));
        return OxFont(fonts.front());
    }
    TemporaryFolder folder;
};

TEST_F(MacPostscript, FamilyAndStrikeFillTheRecord) {
    const OxFont font = parse(FondBuilder::helvetica({12, 3, 7}), "Helv\x8Etica");
    const Attributes expected = {{eType, "T1"},
                                 {eFoundry, "Unknown"},
                                 {eFontFilePath, folder.path().string()},
                                 {eFileName, "Suitcase"},
                                 {eBasename, "Helv\xC3\xA9tica"},
                                 {eDisplayname, "Helv\xC3\xA9tica"},
                                 {eResourcename, "Helv\xC3\xA9tica"},
                                 {eFamilyname, "Helvetica"},
                                 {ePostscriptname, "Helvetica-BoldOblique"},
                                 {ePrinterFilePath, "HelveBolObl"},
                                 {eMultipleMaster, "NO"},
                                 {eSize, "12"},
                                 {eStyle, "3"},
                                 {eFontId, "7"},
                                 {eFntSize, "300"}};
    EXPECT_EQ(font.attributes(), expected);
    EXPECT_THAT(font.resources(), ElementsAre(Pair(kNfntType, 7), Pair(kFondType, 2000)));
    EXPECT_THAT(font.printerFontPaths, ElementsAre(folder.path() / "HelveBolObl"));
    EXPECT_EQ(problems(font), "error 15310 Missing Printer Font:  HelveBolObl");
}

TEST_F(MacPostscript, StrikesAreRecordedWhereTheyAreFound) {
    const FondBuilder family = FondBuilder::helvetica({12, 0, 7});
    EXPECT_THAT(parse(family, "Helvetica", "FONT", strike()).resources(),
                ElementsAre(Pair(kFontType, 7), Pair(kFondType, 2000)));
    const OxFont small = parse(family, "Helvetica", "NFNT", strike(299));
    EXPECT_EQ(small.attributes().size(), 2u) << "type and foundry: a bad strike ends the work";
    EXPECT_THAT(small.resources(), ElementsAre(Pair(kNfntType, 7)));
    const OxFont missing = parse(family, "Helvetica", "sfnt", {});
    EXPECT_EQ(problems(missing), "error 0 Corrupt Assoc:  NULL HFNT Resource");
    EXPECT_THAT(missing.resources(), IsEmpty());
}

TEST_F(MacPostscript, StyleCodesAreUnsignedAndReachBehindTheTable) {
    const OxFont font = parse(FondBuilder::helvetica({12, 0xFFFF, 7}));
    EXPECT_EQ(font.getAttribute(eStyle), "65535");
    EXPECT_EQ(font.getAttribute(ePostscriptname), "Helvetica");
}

TEST_F(MacPostscript, MultipleMasterFamilies) {
    FondBuilder family = FondBuilder::helvetica({12, 0, 7});
    family.names[0] = "MyriadMM";
    const OxFont font = parse(family, "MyriadMM_400");
    EXPECT_EQ(font.getAttribute(eMultipleMaster), "YES");
    EXPECT_EQ(font.getAttribute(eFamilyname), "Myriad");
    EXPECT_EQ(parse(family, "%Myria_400").getAttribute(eMultipleMaster), "YES");
}

TEST_F(MacPostscript, AFamilyWithoutStyleTableRaises) {
    Bytes family = FondBuilder::of({{12, 0, 7}});
    EXPECT_EQ(textOfException([&] { parse(family); }), "Corrupt Font:  No Style Table");
    patch(family, FondBuilder::kStyleTableField, 4, 60);
    EXPECT_EQ(textOfException([&] { parse(family); }), "offset < GetHandleSize(inFondH)");
}

TEST_F(MacPostscript, ThePrinterFontFillsWhatIsEmpty) {
    folder.write("HelveBol", macBinary(postChunks({{1, type1Program()}, {5, ""}}).build()));
    const OxFont font = parse(FondBuilder::helvetica({12, 1, 7}));
    EXPECT_THAT(font.diagnostics(), IsEmpty());
    EXPECT_EQ(font.getAttribute(eFullname), "Acme (TM) Bold");
    EXPECT_EQ(font.getAttribute(eFontVersion), "001.005");
    EXPECT_EQ(font.getAttribute(eFoundry), "Acme Fonts");
    // what the suitcase says stays
    EXPECT_EQ(font.getAttribute(ePostscriptname), "Helvetica-Bold");
    EXPECT_EQ(font.getAttribute(eFamilyname), "Helvetica");
    EXPECT_EQ(font.getAttribute(eFileName), "Suitcase");
    EXPECT_EQ(font.getFontType(), OxFont::T1);

    folder.write("HelveBolObl", "no fork here");
    const OxFont damaged = parse(FondBuilder::helvetica({12, 3, 7}));
    EXPECT_THAT(damaged.diagnostics(), IsEmpty());
    EXPECT_EQ(damaged.getAttribute(eFullname), "");
    EXPECT_EQ(damaged.getAttribute(eFoundry), "Unknown");
}

TEST_F(MacPostscript, OnlyFilesUnderTheExactNameInTheFolderCount) {
    folder.write("HelveBol.bin", "");
    ASSERT_EQ(mkfifo((folder.path() / "HelveBol").c_str(), 0600), 0);
    EXPECT_EQ(problems(parse(FondBuilder::helvetica({12, 1, 7}))),
              "error 15310 Missing Printer Font:  HelveBol");

    FondBuilder elsewhere = FondBuilder::helvetica({12, 1, 7});
    elsewhere.names[0] = "Helve";
    elsewhere.names[4] = "/Bol";
    elsewhere.names[3] = "";
    folder.write("Helve/Bol", "");
    EXPECT_EQ(problems(parse(elsewhere)), "error 15310 Missing Printer Font:  Helve/Bol");
}

TEST_F(MacPostscript, AnEmptyPrinterNameIsTheFolderWhichExists) {
    FondBuilder family = FondBuilder::helvetica({12, 1, 7});
    family.names = {"", ""};
    const OxFont font = parse(family);
    EXPECT_THAT(font.diagnostics(), IsEmpty());
    EXPECT_EQ(font.getAttribute(ePostscriptname), "");
    EXPECT_EQ(font.getAttribute(ePrinterFilePath), "");
    EXPECT_EQ(font.getAttribute(eFoundry), "Unknown");
}

TEST_F(MacPostscript, AnEntryThatNamesNoStrikePassesItsCheck) {
    OxParserPostscriptImp parser;
    const AsscEntry entry{0, 0, 7};
    OxFont font;
    EXPECT_TRUE(parser.validateAssoc(font, &entry));
    EXPECT_EQ(font.attributes().size(), 1u);
}

}  // namespace
