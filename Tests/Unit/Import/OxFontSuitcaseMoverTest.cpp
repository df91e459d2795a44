#include "OxFontSuitcaseMover.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <boost/smart_ptr/make_shared.hpp>

#include "MacFontBuilder.h"
#include "OxParserSuitcaseImp.h"
#include "ResourceForkBuilder.h"
#include "UnitTest.h"

namespace {

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
    for (const auto& [type, text] : OxFont::_fontType) {
        const bool inResources =
            type == OxFont::T1 || type == OxFont::TT || type == OxFont::Bi || type == OxFont::DF;
        const std::string other = type == OxFont::TTC ? "collection" : "font";
        EXPECT_EQ(placed(type, false), other) << type;
        EXPECT_EQ(placed(type, true), inResources ? "suitcase" : other) << type;
    }
    boost::shared_ptr<OxFont> none;
    OxFontSuitcaseMover mover;
    mover.Move(none);
    mover.MoveFont(none);
    mover.MoveSuitcase(none);
    EXPECT_FALSE(mover.lastCopy());
    auto nameless = boost::make_shared<OxFont>();
    nameless->setSourceFile("/font");
    mover.MoveSuitcase(nameless);
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::eNoFile);
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
    EXPECT_EQ(mover.lastCopy()->outcome, CopyOutcome::eNoFile);

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
        const auto fork = ResourceForkBuilder()
                              .add("FOND", 128, family, "Helvetica")
                              .add("FOND", 129, other, "Other")
                              .add("NFNT", 1000, strike())
                              .add("FONT", 1001, strike(400))
                              .add("NFNT", 3000, strike(500))
                              .add("sfnt", 2000, outline());
        suitcase = source.write("Helvetica", Bytes());
        source.write("._Helvetica", appleDouble("FFIL", "DMOV", fork));
        const FontList fonts = parse(suitcase);
        ASSERT_FALSE(fonts.empty());
        font = boost::make_shared<OxFont>(fonts.front());
    }
    static FontList parse(const fs::path& file) {
        OxParserSuitcaseImp parser;
        EXPECT_TRUE(parser.inspectFont(file));
        return taken(parser.parseFontFile(file));
    }
    // Moves the bitmap record.
    CopyOutcome move() {
        mover.Move(font);
        EXPECT_TRUE(mover.lastCopy());
        return mover.lastCopy()->outcome;
    }
    fs::path writtenFolder() const { return target.path() / font->getGeneratedSuitcaseFolder(); }
    fs::path written() const { return writtenFolder() / font->getGeneratedSuitcaseName(); }

    TemporaryFolder source;
    TemporaryFolder target;
    fs::path suitcase;
    OxFontSuitcaseMover mover{fs::path(), target.path()};
    boost::shared_ptr<OxFont> font;
};

TEST_F(SuitcaseMove, WritesTheFamilyWithItsStrikesAndOutlines) {
    ASSERT_EQ(font->getFontType(), OxFont::T1);
    EXPECT_EQ(move(), CopyOutcome::eCopied);
    ASSERT_TRUE(fs::is_regular_file(written()));

    // The same records but for where they are; the other family is not among them.
    const FontList before = parse(suitcase);
    const FontList after = parse(written());
    ASSERT_EQ(after.size() + 1, before.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
        Attributes expected = before[i].attributes();
        expected[eFontFilePath] = writtenFolder().string();
        expected[eFileName] = written().filename().string();
        EXPECT_EQ(after[i].attributes(), expected);
        EXPECT_EQ(after[i].resources(), before[i].resources());
        EXPECT_EQ(problems(after[i]), problems(before[i]));
    }
}

TEST_F(SuitcaseMove, NeverOverwritesAndTellsSameFromDiffers) {
    move();
    const Bytes first = readFile(written());
    EXPECT_EQ(move(), CopyOutcome::eSame);
    EXPECT_EQ(readFile(written()), first);
    fs::remove(written());
    target.write(written().lexically_relative(target.path()).string(), "mine");
    EXPECT_EQ(move(), CopyOutcome::eDiffers);
    EXPECT_EQ(readFile(written()), bytesOf("mine"));
}

TEST_F(SuitcaseMove, TakesThePrinterFontAlongAndLeavesNothingAfterAFailure) {
    ASSERT_THAT(font->printerFontPaths, SizeIs(1));
    const fs::path name = font->printerFontPaths[0].filename();
    source.write(name.string(), "printer font");
    move();
    EXPECT_EQ(readFile(writtenFolder() / name), bytesOf("printer font"));

    font->setAttribute(ePostscriptname, "Elsewhere");
    fs::remove(source.path() / "._Helvetica");
    EXPECT_EQ(move(), CopyOutcome::eFailed);
    EXPECT_FALSE(fs::exists(writtenFolder() / "Elsewhere"));
    for (const char* hostile : {"../../x", "a/b", "..", "."}) {
        font->setAttribute(ePostscriptname, hostile);
        EXPECT_EQ(move(), CopyOutcome::eRefused) << hostile;
    }
}

TEST_F(SuitcaseMove, TellsWhyItCannotReadEitherSideAndWhatDiffers) {
    const fs::path name = font->printerFontPaths.at(0).filename();
    source.write(name.string(), "printer font");
    EXPECT_EQ(move(), CopyOutcome::eCopied);
    source.write(name.string(), "another printer font");
    EXPECT_EQ(move(), CopyOutcome::eDiffers);
    EXPECT_EQ(readFile(writtenFolder() / name), bytesOf("printer font"));
    fs::remove(writtenFolder() / name);
    ASSERT_EQ(move(), CopyOutcome::eSame);

    const uid_t user = ::geteuid();
    const fs::path sidecar = source.path() / "._Helvetica";
    for (const fs::path& unreadable : {written(), source.path() / name, sidecar}) {
        for (const fs::path& folder : {source.path(), target.path()}) {
            ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
        }
        ASSERT_EQ(::chmod(unreadable.c_str(), 0), 0);
        fs::remove(writtenFolder() / name);
        if (user == 0 && ::seteuid(65534) != 0) {
            GTEST_SKIP() << "cannot give up the rights of root";
        }
        const CopyOutcome outcome = move();
        ASSERT_EQ(::seteuid(user), 0);
        EXPECT_EQ(outcome, CopyOutcome::eFailed) << unreadable;
        EXPECT_EQ(mover.lastCopy()->error.value(), EACCES) << unreadable;
        ASSERT_EQ(::chmod(unreadable.c_str(), 0644), 0);
    }
    source.write("._Helvetica", appleDouble("FFIL", "DMOV", Bytes(400)));
    EXPECT_EQ(move(), CopyOutcome::eFailed);
    EXPECT_EQ(mover.lastCopy()->error.message(), "The resource fork is damaged");
}

TEST_F(SuitcaseMove, PutsPrinterFontsBesideTheSuitcaseWhateverTheFoundryIsCalled) {
    const fs::path name = font->printerFontPaths.at(0).filename();
    source.write(name.string(), "printer font");
    const TemporaryFolder elsewhere;
    fs::create_directory(elsewhere.path() / "inner");
    fs::create_directory_symlink(elsewhere.path() / "inner", target.path() / "link");
    // Not through setAttribute, which would look for a foundry in the text.
    font->setPrinterFontAttributes({{eFoundry, "link/.."}});
    EXPECT_EQ(move(), CopyOutcome::eCopied);
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
    fork.add("FOND", 128, family);
    for (int i = 0; i < kOutlines; ++i) {
        fork.add("sfnt", 2000 + i, Bytes(i == 0 ? kSize : 0));
    }
    Bytes bytes = fork.build();
    for (std::size_t i = 1; i < kOutlines; ++i) {
        const std::uint32_t place = get32(bytes, fork.referenceAt(1) + 4);
        patch(bytes, fork.referenceAt(1 + i) + 4, 4, place);
    }
    font = boost::make_shared<OxFont>();
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
    EXPECT_EQ(move(), CopyOutcome::eFailed);
    EXPECT_LT(peak() - before, 400 * 1024);  // KiB; copies of all take 1000 MiB
}

}  // namespace
