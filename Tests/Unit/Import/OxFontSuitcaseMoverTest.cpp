#include "OxFontSuitcaseMover.h"

#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>

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

}  // namespace
