#include "OxParserSuitcaseImp.h"

#include <sys/stat.h>

#include "MacFontBuilder.h"
#include "MacResourceTypes.h"
#include "OxParserPostscriptImp.h"
#include "UnitTest.h"

namespace {

FondBuilder familyOf(std::vector<FondBuilder::Entry> entries) {
    return FondBuilder::of(std::move(entries));
}

Bytes damagedFamily() {
    Bytes damaged = familyOf({{0, 0, 4}});
    patch(damaged, 4, 2, 256);
    return damaged;
}

class Suitcase : public testing::Test {
  protected:
    FontList parse(const Bytes& fork) { return parse(folder.write("Suitcase", macBinary(fork))); }
    FontList parse(const fs::path& file) {
        const OpenResources current(ResourceForkBuilder().add("NFNT", 1, {}));
        FontList fonts = taken(parser.parseFontFile(file));
        EXPECT_EQ(CurResFile(), current.reference()) << "the file that was current is so again";
        return fonts;
    }
    static Lines names(const FontList& fonts) {
        Lines result;
        for (const OxFont& font : fonts) {
            result.push_back(font.getAttribute(eType) + " " + font.getAttribute(ePostscriptname));
        }
        return result;
    }

    TemporaryFolder folder;
    OxParserSuitcaseImp parser;
};

TEST_F(Suitcase, IsKnownByItsFinderTypeAlone) {
    const Bytes fork = ResourceForkBuilder().add("FOND", 1, {});
    for (const std::string type : {"FFIL", "tfil", "ffil", "LWFN", "ffIL", "TFIL", "DFIL"}) {
        MacBinaryOptions options;
        options.type = type;
        const bool isSuitcase = type == "FFIL" || type == "tfil" || type == "ffil";
        for (const char* name : {"any.txt", "A.suit"}) {
            const fs::path file = folder.write(name, macBinary(fork, options));
            EXPECT_EQ(parser.inspectFont(file), isSuitcase) << type;
        }
    }
    folder.write("empty", "");
    folder.write("._empty", appleDouble("FFIL", "DMOV", fork));
    EXPECT_TRUE(parser.inspectFont(folder.path() / "empty"));
    const fs::path fifo = folder.path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const fs::path& none : {folder.write("bare.suit", fork), folder.path(),
                                 folder.path() / "missing", fs::path(), fifo}) {
        EXPECT_FALSE(parser.inspectFont(none)) << none;
    }
    EXPECT_FALSE(parser.diagnoseFont("a"));
    EXPECT_FALSE(parser.repairFont("a"));
}

TEST_F(Suitcase, OneRecordForEachDistinctFont) {
    FondBuilder family = FondBuilder::helvetica({9, 0, 1});
    family.entries = {{9, 0, 1}, {12, 0, 2}, {12, 1, 3}, {0, 0, 4}, {0, 0, 4}, {0, 1, 5}};
    const auto fonts = parse(ResourceForkBuilder()
                                 .add("FOND", 10, family, "Helvetica")
                                 .add("FOND", 11, familyOf({{0, 0, 5}, {0, 0, 4}}))
                                 .add("NFNT", 1, strike())
                                 .add("NFNT", 2, strike())
                                 .add("NFNT", 3, strike())
                                 .add("sfnt", 4, outline("Helvetica"))
                                 .add("sfnt", 5, outline("Other")));
    EXPECT_THAT(names(fonts),
                ElementsAre("T1 Helvetica", "T1 Helvetica-Bold", "TTF Helvetica", "TTF Other"));
    EXPECT_EQ(fonts[0].getAttribute(eSize), "9") << "the first of equal ones stays";
    EXPECT_EQ(fonts[2].getAttribute(eFileName), "Suitcase");
}

TEST_F(Suitcase, DamagedFamiliesYieldARecordEachAndTheWalkGoesOn) {
    ResourceForkBuilder builder;
    builder.add("FOND", 1, damagedFamily())
        .add("FOND", 2, compressedResource(), "", 0x01)
        .add("FOND", 3, familyOf({{0, 0, 4}}))
        .add("FOND", 4, damagedFamily())
        .add("FOND", 5, familyOf({{0, 0, 4}}))
        .add("sfnt", 4, outline());
    Bytes fork = builder;
    patch(fork, builder.referenceAt(4) + 4, 4, 0x00FFFFFF);  // data outside the fork
    const auto fonts = parse(fork);
    ASSERT_THAT(fonts, SizeIs(5));
    EXPECT_EQ(problems(fonts[0]), "error 0 Corrupt FOND:  Invalid first character");
    EXPECT_EQ(fonts[0].attributes().size(), 1u) << "\"Foundry\" alone";
    EXPECT_EQ(problems(fonts[1]), "error 0 Corrupt FOND:  -186");
    EXPECT_EQ(fonts[2].getAttribute(ePostscriptname), "AcmeSans-Bold");
    EXPECT_THAT(fonts[3].diagnostics(), SizeIs(1));
    EXPECT_EQ(problems(fonts[4]), "error 0 Corrupt FOND:  -192");
}

TEST_F(Suitcase, ADamagedFamilysRecordEqualsALaterMissingOutline) {
    const FontList fonts = parse(ResourceForkBuilder()
                                     .add("FOND", 1, damagedFamily())
                                     .add("FOND", 2, familyOf({{0, 0, 9}})));
    EXPECT_THAT(fonts, SizeIs(1)) << "no name and no type: both are the same font";
}

TEST_F(Suitcase, EntriesOutsideTheFamilyAreNotWalked) {
    Bytes fond = familyOf({{0, 0, 8}});
    ASSERT_EQ(fond.size(), 60u);
    patch(fond, FondBuilder::kCountField, 2, 50);
    const auto fonts = parse(ResourceForkBuilder().add("FOND", 1, fond));
    ASSERT_THAT(fonts, SizeIs(1));
    EXPECT_EQ(problems(fonts[0]), "error 0 Missing sfnt resource");
    fond.resize(59);
    EXPECT_THAT(parse(ResourceForkBuilder().add("FOND", 1, fond)), IsEmpty());
    EXPECT_THAT(parse(ResourceForkBuilder().add("FOND", 1, {})), IsEmpty());
}

TEST_F(Suitcase, AFamilyWithoutStyleTableEndsTheWalkOnTheLastRecord) {
    ResourceForkBuilder builder;
    builder.add("FOND", 1, familyOf({{0, 0, 4}, {0, 0, 5}, {9, 0, 1}}))
        .add("FOND", 2, familyOf({{0, 0, 6}}))
        .add("NFNT", 1, strike())
        .add("sfnt", 4, outline("A"))
        .add("sfnt", 5, outline("B"))
        .add("sfnt", 6, outline("C"));
    const auto fonts = parse(builder);
    EXPECT_THAT(names(fonts), ElementsAre("TTF A", "TTF B"));
    EXPECT_THAT(fonts[0].diagnostics(), IsEmpty());
    EXPECT_EQ(problems(fonts[1]), "error 0 Corrupt Font:  No Style Table");

    EXPECT_THAT(parse(ResourceForkBuilder()
                          .add("FOND", 1, familyOf({{9, 0, 1}, {0, 0, 4}}))
                          .add("NFNT", 1, strike())
                          .add("sfnt", 4, outline("A"))),
                IsEmpty())
        << "without a record the text is dropped";
}

TEST_F(Suitcase, OneThatDoesNotOpenOrHoldsNoFamilyIsEmpty) {
    EXPECT_THAT(parse(ResourceForkBuilder().add("sfnt", 4, outline())), IsEmpty());
    EXPECT_THAT(parse(placeholderFork()), IsEmpty());
    for (const fs::path& file :
         {folder.write("plain", "no fork"), folder.path() / "missing", folder.path()}) {
        EXPECT_THAT(parse(file), IsEmpty());
    }
}

TEST_F(Suitcase, SizesOfAStyleShareTheirPrinterFont) {
    FondBuilder family = FondBuilder::helvetica({9, 0, 1});
    family.entries = {{9, 0, 1}, {9, 1, 1}, {0, 0, 4}};
    folder.write("Helve", macBinary(postChunks({{1, type1Program()}, {5, ""}}).build()));
    const auto fonts = parse(ResourceForkBuilder()
                                 .add("FOND", 10, family.build())
                                 .add("NFNT", 1, strike())
                                 .add("sfnt", 4, outline("A")));
    ASSERT_THAT(names(fonts), ElementsAre("T1 Helvetica", "T1 Helvetica-Bold", "TTF A"))
        << "the suitcase is current again after the printer font";
    EXPECT_EQ(fonts[0].getAttribute(eFullname), "Acme (TM) Bold");
    EXPECT_EQ(fonts[1].getAttribute(eFullname), "");
}

OxFont record(const char* name, int type, const char* resourceName = "") {
    OxFont font;
    font.setAttribute(ePostscriptname, name);
    font.setAttribute(eFamilyname, name);
    font.setAttribute(eResourcename, resourceName);
    font.setAttribute(eMultipleMaster, "YES");
    font.setFontType(type);
    return font;
}

TEST_F(Suitcase, ListsOfUniqueFonts) {
    FontList fonts;
    EXPECT_FALSE(parser.fondIsT1TT(&fonts));
    parser.addUniqueFont(&fonts, record("A", OxFont::T1));
    parser.addUniqueFont(&fonts, record("A", OxFont::T1));
    EXPECT_FALSE(parser.fondIsT1TT(&fonts));
    auto source = std::make_unique<FontList>();
    source->push_back(new OxFont(record("A", OxFont::TT)));
    source->push_back(new OxFont(record("B", OxFont::T1)));
    source->push_back(new OxFont(record("A", OxFont::T1)));
    parser.addUniqueFonts(&fonts, source.release());
    EXPECT_THAT(names(fonts), ElementsAre("T1 A", "TT A", "T1 B"));
    EXPECT_TRUE(parser.fondIsT1TT(&fonts));
    EXPECT_TRUE(OxParserPostscriptImp().fondIsT1TT(&fonts));
}

TEST_F(Suitcase, MultipleMasterFamiliesAreGathered) {
    FontList fonts;
    fonts.push_back(new OxFont(record("MyriadMM", OxFont::T1, "MyriadMM_400")));
    fonts.push_back(new OxFont(record("MyriadMM", OxFont::T1, "MyriadMM_600")));
    fonts.push_back(new OxFont(record("MyriadMM", OxFont::T1, "%Myria_400")));
    fonts.push_back(new OxFont(record("Plain", OxFont::T1, "Plain")));
    fonts[0].addResource(kFondType, 1);
    fonts[1].addResource(kFondType, 2);
    FontList families = taken(parser.collectMultipleMasterFonts(fonts));
    ASSERT_THAT(families, SizeIs(1));
    EXPECT_THAT(families.front().resources(), ElementsAre(Pair(kFondType, 1), Pair(kFondType, 2)));

    const OpenResources open(ResourceForkBuilder()
                                 .add("FOND", 7, {}, "%MMyriadMM_400")
                                 .add("FOND", 8, {}, "%MOther_400")
                                 .add("FOND", 9, {}, "MyriadMM_400"));
    parser.addMultipleMasterStemResources(&families.front());
    EXPECT_EQ(families.front().getResourceByType(kFondType), std::pair(int{kFondType}, 7));
}

}  // namespace
