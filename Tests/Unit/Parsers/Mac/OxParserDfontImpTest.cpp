#include "OxParserDfontImp.h"

#include "MacFontBuilder.h"
#include "MacResourceTypes.h"
#include "OxParserSuitcaseImp.h"
#include "UnitTest.h"

namespace {

class Dfont : public ParserTest<OxParserDfontImp> {
  protected:
    Dfont() : ParserTest("Acme.dfont") {}
};

FondBuilder family(std::vector<FondBuilder::Entry> entries) {
    return FondBuilder::of(std::move(entries));
}

TEST_F(Dfont, KeepsEveryRecordAndTakesBitmapsForOutlines) {
    const auto fonts = parse(ResourceForkBuilder()
                                 .add("FOND", 1, family({{0, 0, 4}, {9, 0, 1}, {12, 0, 2}}))
                                 .add("FOND", 2, family({{0, 0, 4}, {0, 0, 9}, {-1, 0, 4}}))
                                 .add("NFNT", 1, strike())
                                 .add("NFNT", 2, strike())
                                 .add("sfnt", 4, outline("A")));
    ASSERT_THAT(fonts, SizeIs(5)) << "a missing outline yields nothing";
    for (const std::size_t i : {0u, 3u, 4u}) {
        EXPECT_EQ(fonts[i].getAttribute(ePostscriptname), "A");
        EXPECT_EQ(fonts[i].getAttribute(eFileName), "Acme.dfont");
        EXPECT_EQ(fonts[i].attributes(), fonts[0].attributes());
    }
    for (const std::size_t i : {1u, 2u}) {
        EXPECT_EQ(problems(fonts[i]), "error 0 Missing sfnt resource");
    }
}

TEST_F(Dfont, DamagedFamiliesYieldRecords) {
    ResourceForkBuilder builder;
    builder.add("FOND", 1, compressedResource(), "", 0x01)
        .add("FOND", 2, family({{0, 0, 4}, {0, 0, 4}}))
        .add("FOND", 3, family({{0, 0, 4}}))
        .add("sfnt", 4, outline("A"));
    Bytes fork = builder.build();
    const std::size_t second = 256 + 4 + compressedResource().size() + 4;
    patch(fork, second + 6, 2, 300);
    const auto fonts = parse(fork);
    ASSERT_THAT(fonts, SizeIs(3));
    EXPECT_EQ(problems(fonts[0]), "error 0 Corrupt FOND:  -186");
    EXPECT_EQ(fonts[0].getAttribute(eFontFilePath), folder.path().string());
    EXPECT_EQ(fonts[0].getAttribute(eFileName), "Acme.dfont");
    EXPECT_EQ(problems(fonts[1]), "error 0 Corrupt FOND:  Invalid last character");
    EXPECT_EQ(fonts[1].getAttribute(eFileName), "");
    EXPECT_EQ(fonts[2].getAttribute(ePostscriptname), "A");
}

TEST_F(Dfont, WhatIsNoResourceFileIsEmpty) {
    EXPECT_THAT(parse(Bytes()), IsEmpty());
    EXPECT_THAT(parse(bytesOf("no resources in here")), IsEmpty());
    EXPECT_THAT(parse(macBinary(ResourceForkBuilder().add("FOND", 1, family({{0, 0, 9}})).build())),
                IsEmpty())
        << "the data fork is the file's own bytes";
}

TEST_F(Dfont, StaysOpenUntilTheNextOneOpensOrTheParserGoes) {
    const OpenResources before(ResourceForkBuilder().add("NFNT", 1, {}));
    const auto fork = ResourceForkBuilder().add("FOND", 1, family({{9, 0, 7}}));
    std::int16_t first = 0;
    {
        OxParserDfontImp another;
        const auto file = folder.write("B.dfont", fork.build());
        const auto parseAgain = [&another](const fs::path& path) {
            delete another.parseFontFile(path);
        };
        parseAgain(file);
        first = CurResFile();
        EXPECT_NE(first, before.reference());
        EXPECT_EQ(Count1Resources(kFondType), 1);

        // another parser's work restores it
        OxParserSuitcaseImp suitcase;
        delete suitcase.parseFontFile(folder.write("S", macBinary(fork.build())));
        EXPECT_EQ(CurResFile(), first);

        parseAgain(folder.path() / "none.dfont");
        EXPECT_EQ(CurResFile(), first) << "nothing was opened";

        parseAgain(file);
        EXPECT_NE(CurResFile(), first);
        UseResFile(first);
        EXPECT_EQ(ResError(), resFNotFound) << "at most one stays open";
        parseAgain(folder.write("C.dfont", "damaged"));
        EXPECT_EQ(CurResFile(), before.reference());
        parseAgain(file);
        first = CurResFile();
    }
    UseResFile(first);
    EXPECT_EQ(ResError(), resFNotFound);
    EXPECT_EQ(CurResFile(), before.reference());
}

TEST_F(Dfont, ItsOwnParseFontReadsOneEntry) {
    const OpenResources open(ResourceForkBuilder().add("sfnt", 4, outline("A")));
    const AsscEntry entry{0, 0, 4};
    EXPECT_THAT(taken(parser.parseFont("A.dfont", nullptr, &entry)), SizeIs(1));
}

}  // namespace
