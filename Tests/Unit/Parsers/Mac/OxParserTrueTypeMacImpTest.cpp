#include "OxParserTrueTypeMacImp.h"

#include "MacFontBuilder.h"
#include "MacResourceTypes.h"
#include "UnitTest.h"

namespace {

class MacOutline : public testing::Test {
  protected:
    FontList parse(const Bytes& sfnt, short fontSize = 0, int mode = eSuitcaseMode) {
        const OpenResources open(ResourceForkBuilder().add("sfnt", 7, sfnt));
        const AsscEntry entry{fontSize, 0, 7};
        FontList fonts = taken(parser.parseFont("/fonts/Acme Suitcase", nullptr, &entry, mode));
        EXPECT_TRUE(handleBytes(Get1Resource(kSfntType, 7)).text() == ByteView(sfnt).text())
            << "the resource's own bytes stay as they are";
        return fonts;
    }
    OxParserTrueTypeMacImp parser;
};

// A collection of resources; members are read at the places of the offset array, 12 + 4k.
Bytes collection(std::uint32_t count, std::size_t size) {
    return BigEndian().text("ttcf").u32(0x00010000).u32(count).padTo(size);
}

TEST_F(MacOutline, IsReadLikeATrueTypeFile) {
    const Bytes sfnt = outline("Acme", 5000);
    for (const int mode : {eSuitcaseMode, eDfontMode}) {
        const auto fonts = parse(sfnt, 0, mode);
        ASSERT_THAT(fonts, SizeIs(1));
        const Attributes expected = {{ePlatform, "Macintosh"},       {eFontFilePath, "/fonts"},
                                     {eFileName, "Acme Suitcase"},   {ePostscriptname, "Acme"},
                                     {eFingerprint, digestOf(sfnt)}, {eType, "TTF"}};
        Attributes found = fonts.front().attributes();
        EXPECT_THAT(expected, testing::Each(testing::Truly([&](const auto& pair) {
                        return found[pair.first] == pair.second;
                    })));
        EXPECT_EQ(found[eFntSize], "");
        EXPECT_EQ(problems(fonts.front()), "");
    }
    EXPECT_THAT(parse(sfnt, 0, 2), IsEmpty());
}

TEST_F(MacOutline, SmallAndMissingOnesAreMissing) {
    const auto expectMissing = [](const FontList& fonts) {
        ASSERT_THAT(fonts, SizeIs(1));
        EXPECT_EQ(problems(fonts.front()), "error 0 Missing sfnt resource");
        EXPECT_EQ(fonts.front().attributes().size(), 1u) << "\"Foundry\" alone";
    };
    expectMissing(parse(outline("Acme", 4999)));
    const OpenResources open(ResourceForkBuilder().add("sfnt", 7, outline()));
    for (const short size : {short{0}, short{12}}) {
        const AsscEntry entry{size, 0, 8};
        expectMissing(taken(parser.parseFont("Acme", nullptr, &entry, eDfontMode)));
    }
}

TEST_F(MacOutline, ItsOwnCheckNamesTheMissingResource) {
    const OpenResources open(
        ResourceForkBuilder().add("sfnt", 7, Bytes(4999)).add("sfnt", 9, Bytes(5000)));
    const auto check = [this](OxFont& font, AsscEntry entry) {
        return parser.validateAssoc(font, &entry);
    };
    OxFont font;
    EXPECT_TRUE(check(font, {12, 0, 8}));
    EXPECT_FALSE(check(font, {0, 0, 7}));
    EXPECT_EQ(problems(font), "");
    EXPECT_FALSE(check(font, {0, 0, 8}));
    EXPECT_EQ(problems(font), "error 0 Missing sfnt resource");
    EXPECT_TRUE(check(font, {0, 0, 9}));
    EXPECT_EQ(font.getAttribute(eFntSize), "5000");
}

TEST_F(MacOutline, AttributesNameTheFileAndBothResources) {
    const OpenResources open(ResourceForkBuilder().add("FOND", 3, {}).add("sfnt", 7, Bytes(5000)));
    OxFont font;
    parser.setAttributes("/fonts/Acme", &font, Get1Resource(kFondType, 3),
                         Get1Resource(kSfntType, 7));
    EXPECT_EQ(font.getAttribute(eSourcePath), "/fonts/Acme");
    EXPECT_EQ(font.getAttribute(eFntSize), "5000");
    EXPECT_EQ(font.getResourceByType(kFondType).second, 3);
    EXPECT_EQ(font.getResourceByType(kSfntType).second, 7);
}

TEST_F(MacOutline, ATableCountThatDoesNotFitYieldsNothing) {
    Bytes sfnt = outline();
    patch(sfnt, 4, 2, 311);  // 16 * 311 + 12 = 4988
    ASSERT_THAT(parse(sfnt), SizeIs(1));
    EXPECT_EQ(problems(parse(sfnt).front()), "error 11001");
    patch(sfnt, 4, 2, 312);
    EXPECT_THAT(parse(sfnt), IsEmpty());
    // Entries that are no outlines by their own account may name tiny resources.
    for (const std::size_t size : {0u, 3u, 5u, 6u, 11u}) {
        EXPECT_THAT(parse(Bytes(size), 9), IsEmpty()) << size;
    }
    EXPECT_THAT(parse(Bytes(12), 9), SizeIs(1));
}

TEST_F(MacOutline, CollectionMembersAreReadAtTheOffsetArrayItself) {
    EXPECT_THAT(parse(collection(0, 5000)), IsEmpty());

    Bytes sfnt = collection(3, 5000);
    patch(sfnt, 16, 4, 0x7FFF0000);  // member 0, at 12, claims 0x7FFF tables
    patch(sfnt, 20, 4, 37 << 16);    // member 1, at 16, claims 37
    const auto fonts = parse(sfnt);
    ASSERT_THAT(fonts, SizeIs(2));
    Bytes shifted(sfnt.begin() + 16, sfnt.end());
    shifted.resize(sfnt.size());
    EXPECT_EQ(fonts[0].getAttribute(eFingerprint), digestOf(shifted));
    EXPECT_EQ(problems(fonts[0]), "error 11001");
    EXPECT_EQ(fonts[0].getAttribute(eFontOffset), "");
    EXPECT_EQ(problems(fonts[1]), "");
}

}  // namespace
