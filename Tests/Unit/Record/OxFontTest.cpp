#include "OxFont.h"

#include "OxFontComparer.h"
#include "UnitTest.h"

namespace {

TEST(OxFont, StartsUnknown) {
    const OxFont font;
    EXPECT_EQ(font.getAttribute("Foundry"), "Unknown");
    EXPECT_EQ(font.getFontType(), 20);
    EXPECT_EQ(font.attributes().size(), 1u);
}

TEST(OxFont, DerivesSourcePathAndDisplayname) {
    OxFont font;
    font.setAttribute(eFontFilePath, "/a/b");
    EXPECT_EQ(font.getAttribute(eSourcePath), "");
    font.setAttribute(eFileName, "c.ttf");
    EXPECT_EQ(font.getAttribute(eSourcePath), "/a/b/c.ttf");
    font.setAttribute(eSourcePath, "");
    EXPECT_EQ(font.getAttribute(eSourcePath), "");

    EXPECT_EQ(font.getAttribute(eDisplayname), "");
    font.setAttribute(ePostscriptname, "X-Bold");
    EXPECT_EQ(font.getAttribute(eDisplayname), "X-Bold");
    font.setAttribute(eFullname, "");
    EXPECT_EQ(font.getAttribute(eDisplayname), "") << "presence decides, not emptiness";
    font.setAttribute(eFullname, "X Bold");
    EXPECT_EQ(font.getAttribute(eDisplayname), "X Bold");
    EXPECT_EQ(font.attributes().count(eDisplayname), 0u);
}

TEST(OxFont, FoundryKeepsOnlyWhatIsFoundInTheText) {
    OxFont font;
    font.setAttribute(eFoundry, "Copyrighted acme fonts");
    EXPECT_EQ(font.getAttribute(eFoundry), "Acme Fonts");
    font.setAttribute(eFoundry, "Copyright 1990 Acme");
    EXPECT_EQ(font.getAttribute(eFoundry), "");
    font.setAttribute(eFoundry, "Acme");
    EXPECT_EQ(font.getAttribute(eFoundry), "Unknown");
}

TEST(OxFont, NumbersAreReadAsAStreamReadsThem) {
    OxFont font;
    const auto read = [&font](const char* text) {
        font.setAttribute(eWeight, text);
        return font.getAttributeAsInt(eWeight);
    };
    EXPECT_EQ(font.getAttributeAsInt(eWeight), 0);
    EXPECT_EQ(read("12abc"), 12);
    EXPECT_EQ(read(" \t-7"), -7);
    EXPECT_EQ(read("abc"), 0);
    EXPECT_EQ(read(""), 0);
    font.setAttributeAsInt(eWeight, -400);
    EXPECT_EQ(font.getAttribute(eWeight), "-400");
}

TEST(OxFont, FontTypesGoThroughTheSharedTable) {
    OxFont font;
    font.setFontType(OxFont::TTC);
    EXPECT_EQ(font.getAttribute(eType), "TTC");
    EXPECT_EQ(font.getFontType(), 6);
    font.setAttribute(eType, "something");
    EXPECT_EQ(font.getFontType(), 20);
    font.setFontType(3);
    EXPECT_EQ(font.getAttribute(eType), "");
    EXPECT_EQ(font.getFontType(), 3) << "an unknown number joins the table with an empty text";
    OxFont::_fontType.erase(3);
}

TEST(OxFont, AssignmentAccumulates) {
    OxFont a;
    a.setAttribute(eFamilyname, "A");
    a.setAttribute(eFullname, "A Bold");
    a.addDiagnostic(eError, 1, "a");
    OxFont b;
    b.setAttribute(eFamilyname, "B");
    b.addDiagnostic(eNote, 2, "b");
    b.addResource(5, 6);
    b.printerFontPaths.emplace_back("/p");
    a = b;
    a = *&a;
    EXPECT_EQ(a.getAttribute(eFamilyname), "B");
    EXPECT_EQ(a.getAttribute(eFullname), "A Bold");
    ASSERT_EQ(a.diagnostics().size(), 2u);
    EXPECT_EQ(a.diagnostics()[1].text, "b");
    EXPECT_EQ(a.printerFontPaths.size(), 1u);
    EXPECT_EQ(a.getResourceCount(5), 1);

    b.setAttribute(eFoundry, "nobody");
    OxFont bare;
    bare.setAttribute(eFoundry, "");
    const OxFont copy(bare);
    EXPECT_EQ(copy.getAttribute(eFoundry), bare.getAttribute(eFoundry));
}

TEST(OxFont, ResourcesCompareWithTheLastOfTheirTypeOnly) {
    OxFont font;
    EXPECT_EQ(font.getResourceByType(1), (std::pair<int, int>(0, 0)));
    font.addResource(1, 5);
    font.addResource(2, 9);
    font.addResource(1, 5);
    EXPECT_EQ(font.getResourceCount(1), 1);
    font.addResource(1, 6);
    font.addResource(1, 5);
    EXPECT_EQ(font.getResourceCount(1), 3);
    EXPECT_EQ(font.getResourceByType(1), (std::pair<int, int>(1, 5)));
    font.mergeMultipleMasterFont(font);
    EXPECT_EQ(font.getResourceCount(1), 6);
}

TEST(OxFont, RemovingADiagnosticIgnoresItsCode) {
    OxFont font;
    font.addDiagnostic(eWarning, 11024);
    font.addDiagnostic(eError, 11024);
    font.addDiagnostic(eError, 11025);
    font.removeDiagnostic({eError, 11025, ""});
    ASSERT_EQ(font.diagnostics().size(), 2u);
    EXPECT_EQ(font.diagnostics()[1].code, 11025) << "the earlier error of equal text went";
    font.removeDiagnostic({eNote, 11025, ""});
    EXPECT_EQ(font.diagnostics().size(), 2u);
}

TEST(OxFont, DiagnosticsAreListedByTypeAndByIndex) {
    OxFont font;
    font.addDiagnostic(eError, 1, "one");
    font.addDiagnostic(eWarning, 2, "two");
    font.addDiagnostic(eNote, 3);
    font.addDiagnostic(eError, 4, "four");
    std::vector<int> codes{99};
    std::vector<std::string> texts{"kept"};
    font.getErrors(codes, texts);
    font.getWarnings(codes, texts);
    font.getNotes(codes, texts);
    EXPECT_EQ(codes, (std::vector<int>{99, 1, 4, 2, 3}));
    EXPECT_EQ(texts, (std::vector<std::string>{"kept", "one", "four", "two", ""}));

    int code = -5;
    std::string text = "untouched";
    EXPECT_FALSE(font.getNextError(4, code, text));
    EXPECT_FALSE(font.getNextError(-1, code, text));
    EXPECT_EQ(code, -5);
    EXPECT_EQ(text, "untouched");
    EXPECT_TRUE(font.getNextError(1, code, text)) << "whatever its type";
    EXPECT_EQ(code, 2);
}

TEST(OxFont, PrinterFontAttributesFillGapsAndAlwaysTheFoundry) {
    OxFont font;
    font.setAttribute(eFamilyname, "Own");
    font.setAttribute(eFullname, "");
    font.setPrinterFontAttributes(
        {{eFamilyname, "Theirs"}, {eFullname, "Full"}, {eFontVersion, "1"}, {eFoundry, "raw"}});
    EXPECT_EQ(font.getAttribute(eFamilyname), "Own");
    EXPECT_EQ(font.getAttribute(eFullname), "Full");
    EXPECT_EQ(font.getAttribute(eFontVersion), "1");
    EXPECT_EQ(font.getAttribute(eFoundry), "raw") << "stored without a look-up";
}

TEST(OxFontComparer, ComparesPostscriptNameAndType) {
    OxFont a;
    OxFont b;
    EXPECT_TRUE(OxFontComparer(a)(b)) << "two nameless fonts of no type are the same";
    a.setAttribute(ePostscriptname, "X");
    b.setAttribute(ePostscriptname, "X");
    a.setFontType(OxFont::TTF);
    b.setFontType(OxFont::PFB);
    EXPECT_FALSE(OxFontComparer(a)(b));
    b.setFontType(OxFont::TTF);
    EXPECT_TRUE(OxFontComparer(a)(b));
}

}  // namespace
