#include "OxFontSuitcaseMover.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <boost/smart_ptr/make_shared.hpp>

#include "MacFontBuilder.h"
#include "OxParserSuitcaseImp.h"
#include "ResourceForkBuilder.h"
#include "Support.h"

namespace {

namespace fs = boost::filesystem;

// Notes which operation a record comes to.
class Dispatch : public OxFontSuitcaseMover {
  public:
    using OxFontSuitcaseMover::Move;
    void MoveFont(boost::shared_ptr<OxFont>&) override { called = "font"; }
    void MoveSuitcase(boost::shared_ptr<OxFont>&) override { called = "suitcase"; }
    void MoveTrueTypeCollection(boost::shared_ptr<OxFont>&) override { called = "collection"; }

    std::string called;
};

TEST(SuitcaseMover, TellsByTheTypeHowARecordIsPlaced) {
    const auto placed = [](int type, bool resources) {
        auto font = boost::make_shared<OxFont>();
        font->setFontType(type);
        if (resources) {
            font->addResource(0x464F4E44, 128);
        }
        Dispatch mover;
        mover.Move(font);
        return mover.called;
    };
    for (const int type : {OxFont::T1, OxFont::TT, OxFont::Bi, OxFont::DF}) {
        EXPECT_EQ(placed(type, true), "suitcase") << type;
        EXPECT_EQ(placed(type, false), "font") << type;
    }
    EXPECT_EQ(placed(OxFont::TTC, false), "collection");
    for (const int type : {OxFont::TTF, OxFont::OTPS, OxFont::PFB, OxFont::notSure}) {
        EXPECT_EQ(placed(type, false), "font") << type;
    }
}

TEST(SuitcaseMover, CopiesTheRecordsFileIntoItsFolder) {
    const TemporaryFolder folder;
    const fs::path target = folder.path() / "target";
    fs::create_directory(target);
    folder.write("a/One.ttf", "one");
    const fs::path two = folder.write("b/Two.ttc", "two");
    OxFontSuitcaseMover mover(fs::path(), target);

    auto font = boost::make_shared<OxFont>();
    font->setFontType(OxFont::TTF);
    mover.Move(font);
    ASSERT_TRUE(mover.lastCopy());
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::NoFile);

    font->setAttribute(eFontFilePath, (folder.path() / "a").string());
    font->setAttribute(eFileName, "One.ttf");
    mover.Move(font);
    EXPECT_EQ(readFile(target / "One.ttf"), bytesOf("one"));

    // An importer has rewritten the path; the pipeline's note still tells.
    font->setFontType(OxFont::TTC);
    font->setAttribute(eFontFilePath, "./T/Two");
    font->setSourceFile(two);
    mover.Move(font);
    EXPECT_EQ(readFile(target / "Two.ttc"), bytesOf("two"));
}

class SuitcaseMove : public testing::Test {
  protected:
    void SetUp() override {
        FondBuilder family = FondBuilder::helvetica({12, 0, 1000});
        family.entries.push_back({14, 1, 1001});
        family.entries.push_back({0, 0, 2000});
        FondBuilder other = FondBuilder::helvetica({9, 0, 3000});
        other.names.front() = "Other";
        ResourceForkBuilder fork;
        fork.add("FOND", 128, family.build(), "Helvetica");
        fork.add("FOND", 129, other.build(), "Other");
        fork.add("NFNT", 1000, strike());
        fork.add("FONT", 1001, strike(400));
        fork.add("NFNT", 3000, strike(500));
        fork.add("sfnt", 2000, outline());
        suitcase = source.write("Helvetica", Bytes());
        source.write("._Helvetica", appleDouble("FFIL", "DMOV", fork.build()));
    }
    std::vector<boost::shared_ptr<OxFont>> records(const fs::path& file) {
        OxParserSuitcaseImp parser;
        EXPECT_TRUE(parser.inspectFont(file));
        const std::unique_ptr<boost::ptr_vector<OxFont>> list(parser.parseFontFile(file));
        std::vector<boost::shared_ptr<OxFont>> fonts;
        for (const OxFont& font : *list) {
            fonts.push_back(boost::make_shared<OxFont>(font));
        }
        return fonts;
    }
    boost::shared_ptr<OxFont> bitmapRecord() {
        const auto fonts = records(suitcase);
        return fonts.empty() ? nullptr : fonts.front();
    }

    TemporaryFolder source;
    TemporaryFolder target;
    fs::path suitcase;
    OxFontSuitcaseMover mover{fs::path(), target.path()};
};

TEST_F(SuitcaseMove, WritesTheFamilyWithItsStrikesAndOutlines) {
    auto font = bitmapRecord();
    ASSERT_TRUE(font);
    ASSERT_EQ(font->getFontType(), OxFont::T1);
    mover.Move(font);
    ASSERT_TRUE(mover.lastCopy());
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Copied);
    const fs::path written =
        target.path() / font->getGeneratedSuitcaseFolder() / font->getGeneratedSuitcaseName();
    ASSERT_TRUE(fs::is_regular_file(written));

    // The same records but for where they are; the other family is not among them.
    const auto before = records(suitcase);
    const auto after = records(written);
    ASSERT_EQ(after.size() + 1, before.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
        auto expected = before[i]->attributes();
        expected[eFontFilePath] = written.parent_path().string();
        expected[eFileName] = written.filename().string();
        EXPECT_EQ(after[i]->attributes(), expected);
        EXPECT_EQ(after[i]->resources(), before[i]->resources());
        EXPECT_EQ(diagnosticLines(*after[i]), diagnosticLines(*before[i]));
    }
}

TEST_F(SuitcaseMove, NeverOverwritesAndTellsSameFromDiffers) {
    auto font = bitmapRecord();
    ASSERT_TRUE(font);
    mover.Move(font);
    const fs::path written =
        target.path() / font->getGeneratedSuitcaseFolder() / font->getGeneratedSuitcaseName();
    const Bytes first = readFile(written);
    mover.Move(font);
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Same);
    EXPECT_EQ(readFile(written), first);
    fs::remove(written);
    target.write((written.parent_path().filename() / written.filename()).string(), "mine");
    mover.Move(font);
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Differs);
    EXPECT_EQ(readFile(written), bytesOf("mine"));
}

TEST_F(SuitcaseMove, TakesThePrinterFontAlongAndLeavesNothingAfterAFailure) {
    auto font = bitmapRecord();
    ASSERT_TRUE(font);
    ASSERT_EQ(font->printerFontPaths.size(), 1u);
    source.write(font->printerFontPaths[0].filename().string(), "printer font");
    mover.Move(font);
    const fs::path folder = target.path() / font->getGeneratedSuitcaseFolder();
    EXPECT_EQ(readFile(folder / font->printerFontPaths[0].filename()), bytesOf("printer font"));

    font->setAttribute(ePostscriptname, "Elsewhere");
    fs::remove(source.path() / "._Helvetica");
    mover.Move(font);
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Failed);
    EXPECT_FALSE(fs::exists(folder / "Elsewhere"));
    for (const char* name : {"../../x", "a/b", "..", "."}) {
        font->setAttribute(ePostscriptname, name);
        mover.Move(font);
        EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Refused) << name;
    }
}

TEST_F(SuitcaseMove, PutsPrinterFontsBesideTheSuitcaseWhateverTheFoundryIsCalled) {
    auto font = bitmapRecord();
    ASSERT_TRUE(font);
    const fs::path name = font->printerFontPaths.at(0).filename();
    source.write(name.string(), "printer font");
    const TemporaryFolder elsewhere;
    fs::create_directory(elsewhere.path() / "inner");
    fs::create_directory_symlink(elsewhere.path() / "inner", target.path() / "link");
    // Not through setAttribute, which would look for a foundry in the text.
    font->setPrinterFontAttributes({{eFoundry, "link/.."}});
    mover.Move(font);
    ASSERT_TRUE(mover.lastCopy());
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Copied);
    EXPECT_TRUE(fs::exists(target.path() / font->getGeneratedSuitcaseName()));
    EXPECT_EQ(readFile(target.path() / name), bytesOf("printer font"));
    EXPECT_FALSE(fs::exists(elsewhere.path() / name));
}

TEST_F(SuitcaseMove, TakesLittleMemoryForManyResourcesOfTheSameBytes) {
    constexpr int kOutlines = 50;
    constexpr std::size_t kSize = std::size_t{20} << 20;
    FondBuilder family;
    ResourceForkBuilder fork;
    for (int i = 0; i < kOutlines; ++i) {
        family.entries.push_back({0, 0, 2000 + i});
    }
    fork.add("FOND", 128, family.build());
    for (int i = 0; i < kOutlines; ++i) {
        fork.add("sfnt", 2000 + i, Bytes(i == 0 ? kSize : 0));
    }
    Bytes bytes = fork.build();
    for (std::size_t i = 1; i < kOutlines; ++i) {
        const std::uint32_t place = get32(bytes, fork.referenceAt(1) + 4);
        patch(bytes, fork.referenceAt(1 + i) + 4, 4, place);
    }
    auto font = boost::make_shared<OxFont>();
    font->setFontType(OxFont::TT);
    font->addResource(0x464F4E44, 128);
    font->setAttribute(ePostscriptname, "Many");
    font->setSourceFile(source.write("Many.dfont", bytes));
    const auto peak = [] {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    const long before = peak();
    mover.Move(font);
    ASSERT_TRUE(mover.lastCopy());
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::Failed);
    EXPECT_LT(peak() - before, 400 * 1024);  // KiB; copies of all take 1000 MiB
}

}  // namespace
