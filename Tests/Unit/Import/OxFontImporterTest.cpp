#include "OxFontImporter.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <cerrno>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "LogRecorder.h"
#include "OxFontSuitcaseMover.h"
#include "ScanHost.h"
#include "SfntBuilder.h"
#include "UnitTest.h"

namespace {

std::queue<fs::path> queueOf(const std::deque<fs::path>& paths) {
    return std::queue<fs::path>(paths);
}

// Everything below a folder, files with their bytes.
std::map<std::string, Bytes> treeOf(const fs::path& folder) {
    std::map<std::string, Bytes> tree;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().lexically_relative(folder).string();
        tree[name] = fs::is_regular_file(entry.path()) ? readFile(entry.path()) : Bytes();
    }
    return tree;
}

class Importer : public testing::Test {
  protected:
    Importer() {
        fs::create_directory(target);
        importer = std::make_unique<OxFontImporter>(queueOf({}), target, "/none", "/none");
        importer->copyCallbacks.push_back([this](const FontCopy& copy) { copies.push_back(copy); });
    }
    ~Importer() override { std::cout.rdbuf(standardOutput); }

    static boost::shared_ptr<OxFont> record(const fs::path& file, const std::string& family,
                                            const std::string& fileName = {}) {
        auto font = boost::make_shared<OxFont>();
        font->setAttribute(eFontFilePath, file.parent_path().string());
        font->setAttribute(eFileName, fileName.empty() ? file.filename().string() : fileName);
        font->setAttribute(eFamilyname, family);
        return font;
    }
    // Reports a record, as the coordinator does, and tells the outcome.
    std::string import(const boost::shared_ptr<OxFont>& font) {
        copies.clear();
        importer->fontProgress(1, 1, font);
        if (copies.size() != 1) {
            return std::to_string(copies.size()) + " outcomes";
        }
        return outcomeText(copies[0].outcome, copies[0].error);
    }
    std::string import(const fs::path& file, const std::string& family) {
        return import(record(file, family));
    }

    std::ostringstream output;
    std::streambuf* standardOutput = std::cout.rdbuf(output.rdbuf());
    TemporaryFolder folder;
    fs::path target = folder.path() / "target";
    std::unique_ptr<OxFontImporter> importer;
    std::vector<FontCopy> copies;
};

TEST_F(Importer, LaysFontsOutByFamilyAndFoundry) {
    const struct {
        const char* family;
        const char* foundry;
        const char* path;
    } kCases[] = {{"Garamond", "Acme", "./G/Garamond/Acme/x.ttf"},
                  {"Helvetica", "", "./H/Helvetica/x.ttf"},
                  {"", "", "./x.ttf"},
                  {"", "Acme", "./Acme/x.ttf"},
                  {"garamond", "", "./g/garamond/x.ttf"},  // the initial keeps its case
                  {"\xC3\x89tienne", "", "./\xC3/\xC3\x89tienne/x.ttf"},  // a byte, no letter
                  {"A/B", "", "./A/A/B/x.ttf"}};
    for (const auto& c : kCases) {
        EXPECT_EQ(importer->createPath(c.family, c.foundry, "x.ttf").string(), c.path);
    }
}

TEST_F(Importer, CopiesTheFontsOfARun) {
    folder.write("fonts/Acme.ttf", SfntBuilder::goodFont().build());
    folder.write("fonts/readme.txt", "no font");
    const LogRecorder log;
    std::vector<FontCopy> outcomes;
    std::string filePath;
    std::string family;
    {
        OxFontImporter run(queueOf({folder.path() / "fonts"}), target, "/none", "/none");
        run.setCreateFolders(true);
        run.copyCallbacks.push_back([&](const FontCopy& copy) { outcomes.push_back(copy); });
        run.parser().fontProgressCallbacks.push_back(
            [&](int, int, const boost::shared_ptr<OxFont>& font) {
                filePath = font->getAttribute(eFontFilePath);
                family = font->getAttribute(eFamilyname);
                EXPECT_EQ(font->getAttribute(eDestinationPath), "");
            });
        ScanHost host(run.parser());
        run.import();
        host.wait();
    }
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].outcome, CopyOutcome::eCopied);
    EXPECT_EQ(outcomes[0].source, folder.path() / "fonts" / "Acme.ttf");
    EXPECT_EQ(filePath.rfind("./" + family.substr(0, 1) + "/" + family, 0), 0u) << filePath;
    EXPECT_EQ(outcomes[0].destination.string(), target.string() + "/" + filePath + "/Acme.ttf");
    EXPECT_EQ(readFile(outcomes[0].destination), SfntBuilder::goodFont().build());
    EXPECT_THAT(log.linesWith("OxFontImporter "),
                ElementsAre("OxFontImporter INFO Source:  " + (folder.path() / "fonts").string(),
                            "OxFontImporter INFO Destination:  " + target.string()));
    EXPECT_EQ(output.str(), "Outpath = " + outcomes[0].destination.string() + "\n");
}

TEST_F(Importer, WithoutAnythingItLogsEmptyTexts) {
    const LogRecorder log;
    OxFontImporter empty;
    EXPECT_THAT(log.linesWith("OxFontImporter "),
                ElementsAre("OxFontImporter INFO Source:  ", "OxFontImporter INFO Destination:  "));
    empty.fontProgress(1, 1, nullptr);
    empty.fileProgress(1, 1, nullptr);
}

TEST_F(Importer, AMissingFolderIsSkippedUnlessFoldersAreWanted) {
    const fs::path font = folder.write("x.ttf", "font");
    EXPECT_EQ(import(font, "Acme"), "no-folder");
    EXPECT_TRUE(fs::is_empty(target));
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font, "Acme"), "copied");
    EXPECT_EQ(readFile(target / "A/Acme/Unknown/x.ttf"), bytesOf("font"));

    folder.write("target/B", "a file where a folder should be");
    EXPECT_EQ(import(font, "Bodoni"), failedWith(ENOTDIR));
    importer->setCreateFolders(false);
    EXPECT_EQ(import(font, "Baskerville"), "no-folder");

    fs::remove_all(target);
    EXPECT_EQ(import(font, "Caslon"), "no-folder");
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font, "Didot"), "copied") << "the destination itself is made, too";
}

TEST_F(Importer, ADestinationThatIsAFileStaysOne) {
    const fs::path font = folder.write("x.ttf", "font");
    fs::remove(target);
    folder.write("target", "mine");
    EXPECT_EQ(import(font, "Acme"), "no-folder");
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font, "Bodoni").rfind("failed ", 0), 0u);
    EXPECT_EQ(readFile(target), bytesOf("mine"));
}

TEST_F(Importer, NamesOutOfFontsDoNotLeadOutOfTheDestination) {
    // "target" is what a name must not lead out of; the files beside it are what it would hit.
    const fs::path font = folder.write("x.ttf", "font");
    folder.write("victim/x.ttf", "victim");
    folder.write("targeted/x.ttf", "victim");
    importer->setCreateFolders(true);
    const LogRecorder log;
    const auto before = treeOf(folder.path());
    const std::string nul("A\0B", 3);
    const std::vector<std::string> families = {
        "../../victim", "..", "../../..", nul,
        "../../../../../../.." + folder.path().string() + "/victim"};
    const std::vector<std::string> fileNames = {"../../../../victim/x.ttf", "../../../../new.ttf",
                                                nul, "../../..", "../../../../targeted/x.ttf"};
    for (const std::string& family : families) {
        EXPECT_EQ(import(font, family), "refused") << family;
    }
    for (const std::string& name : fileNames) {
        EXPECT_EQ(import(record(font, "Acme", name)), "refused") << name;
    }
    EXPECT_THAT(log.linesWith("OxFontImporter ERROR"), SizeIs(10));
    EXPECT_EQ(treeOf(folder.path()), before) << "neither copied nor made a folder";
}

TEST_F(Importer, OddNamesStayInsideTheDestination) {
    const fs::path font = folder.write("x.ttf", "font");
    importer->setCreateFolders(true);
    const std::string longName(255, 'L');
    const struct {
        std::string family;
        const char* outcome;
        std::string place;
    } kCases[] = {
        {"/etc", "copied", "etc/Unknown/x.ttf"},
        {".", "copied", "Unknown/x.ttf"},
        {"", "same", "Unknown/x.ttf"},
        {"Acme/../Bold", "copied", "A/Bold/Unknown/x.ttf"},
        {"new\nline\x1b[2J", "copied", "n/new\nline\x1b[2J/Unknown/x.ttf"},
        {longName, "copied", "L/" + longName + "/Unknown/x.ttf"},
        {"A//B/", "copied", "A/A/B/Unknown/x.ttf"},
    };
    for (const auto& odd : kCases) {
        EXPECT_EQ(import(font, odd.family), odd.outcome) << odd.family;
        EXPECT_EQ(readFile(target / odd.place), bytesOf("font")) << odd.family;
    }
    EXPECT_EQ(import(font, longName + "L"), failedWith(ENAMETOOLONG));
    // Source and destination are folders.
    EXPECT_EQ(import(record(font, "Acme", ".")), failedWith(EISDIR));
}

TEST_F(Importer, ARecordWithoutAFileNameNamesNoFile) {
    auto font = record(folder.write("x.ttf", "font"), "Acme");
    font->setAttribute(eFileName, "");
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font), "no-file");
    EXPECT_EQ(import(boost::make_shared<OxFont>()), "no-file");
    EXPECT_TRUE(fs::is_empty(target));
}

TEST_F(Importer, LinksBelowTheDestinationAreFollowedOnlyWhileTheyStayThere) {
    const fs::path font = folder.write("x.ttf", "font");
    fs::create_directories(folder.path() / "outside");
    fs::create_directories(target / "real");
    fs::create_symlink("../outside", target / "A");
    fs::create_symlink("real", target / "B");
    fs::create_symlink(folder.path() / "outside", target / "real" / "Caslon");
    fs::create_symlink("real", target / "C");
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font, "Acme"), "refused");
    EXPECT_EQ(import(font, "Bodoni"), "copied");
    EXPECT_TRUE(fs::exists(target / "real/Bodoni/Unknown/x.ttf"));
    EXPECT_EQ(import(font, "Caslon"), "refused");
    // By the folders, "A/.." is beside the destination, by the text in it.
    EXPECT_EQ(import(font, "A/../Didot"), "refused");
    importer->setCreateFolders(false);
    EXPECT_EQ(import(font, "Zapf"), "no-folder");
    EXPECT_TRUE(fs::is_empty(folder.path() / "outside"));
}

TEST_F(Importer, NeverOverwrites) {
    const fs::path font = folder.write("a/x.ttf", "font");
    const fs::path equal = folder.write("b/x.ttf", "font");
    const fs::path other = folder.write("c/x.ttf", "other");
    importer->setCreateFolders(true);
    folder.write("target/D/Didot/Unknown/x.ttf", "font");
    folder.write("target/E/Egmont/Unknown/x.ttf", "mine");
    EXPECT_EQ(import(font, "Didot"), "same");
    EXPECT_EQ(import(font, "Egmont"), "differs");
    EXPECT_EQ(readFile(target / "E/Egmont/Unknown/x.ttf"), bytesOf("mine"));
    // Several files for one path: the first one has it.
    EXPECT_EQ(import(font, "Acme"), "copied");
    EXPECT_EQ(import(equal, "Acme"), "same");
    EXPECT_EQ(import(other, "Acme"), "differs");
    EXPECT_EQ(readFile(target / "A/Acme/Unknown/x.ttf"), bytesOf("font"));
    // A font that is where it belongs.
    EXPECT_EQ(import(target / "A/Acme/Unknown/x.ttf", "Acme"), "same");
}

// Notes what it is asked for and copies like the base.
class NotingMover : public OxFontSuitcaseMover {
  public:
    explicit NotingMover(std::vector<std::string>& moves) : moves_(moves) {}
    using OxFontSuitcaseMover::Move;
    void Move(const fs::path& source, const fs::path& destination,
              boost::shared_ptr<OxFont>& font) override {
        moves_.push_back(destination.string());
        OxFontSuitcaseMover::Move(source, destination, font);
    }

  private:
    std::vector<std::string>& moves_;
};

TEST_F(Importer, RecordsOfOneFileAreCopiedAndComparedOnce) {
    std::vector<std::string> moves;
    importer->setMover(std::make_unique<NotingMover>(moves));
    importer->setCreateFolders(true);
    const fs::path font = folder.write("x.ttc", "collection");
    EXPECT_EQ(import(font, "Acme"), "copied");
    EXPECT_EQ(import(font, "Acme"), "same");
    EXPECT_THAT(moves, ElementsAre(target.string() + "/./A/Acme/Unknown/x.ttc",
                                   target.string() + "/./A/Acme/Unknown/x.ttc"));
    // What has been found out stays so for this run, whatever becomes of the files.
    folder.write("target/A/Acme/Unknown/x.ttc", "changed meanwhile");
    EXPECT_EQ(import(font, "Acme"), "same");

    moves.clear();
    const fs::path missing = folder.path() / "missing.ttc";
    const std::string failure = failedWith(ENOENT);
    EXPECT_EQ(import(missing, "Acme"), failure);
    EXPECT_EQ(import(missing, "Acme"), failure);
    EXPECT_EQ(moves.size(), 1u) << "a copy that failed is not tried for each member";

    // A folder that comes into being during the run is noticed.
    importer->setCreateFolders(false);
    EXPECT_EQ(import(font, "Bodoni"), "no-folder");
    fs::create_directories(target / "B/Bodoni/Unknown");
    EXPECT_EQ(import(font, "Bodoni"), "copied");
}

// A host's mover that does not use the base's copy.
class ForeignMover : public OxFontMover {
  public:
    void Move(const fs::path& source, const fs::path& destination,
              boost::shared_ptr<OxFont>& font) override {
        const std::string family = font->getAttribute(eFamilyname);
        if (family == "Throws") {
            throw std::runtime_error("the mover's trouble");
        }
        if (family == "Reports") {
            setLastCopy(CopyResult{CopyOutcome::eDiffers, {}});
        } else if (family != "Declines") {
            fs::create_directories(destination.parent_path());
            fs::rename(source, destination);
        }
    }
};

TEST_F(Importer, TellsWhatAForeignMoverHasDone) {
    importer->setMover(std::make_unique<ForeignMover>());
    importer->setMover(nullptr);
    const fs::path font = folder.write("x.ttf", "font");
    const LogRecorder log;
    EXPECT_EQ(import(font, "Throws"), failedWith(EIO));
    EXPECT_EQ(log.linesWith("the mover's trouble").size(), 1u);
    EXPECT_EQ(import(font, "Reports"), "differs");
    EXPECT_EQ(import(font, "Declines"), "no-folder");
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font, "Declines"), failedWith(ECANCELED));
    EXPECT_EQ(import(font, "Acme"), "copied");
    EXPECT_FALSE(fs::exists(font)) << "moved, not copied";
    EXPECT_EQ(import(folder.write("y/x.ttf", "font"), "../../victim"), "refused");
    EXPECT_FALSE(fs::exists(folder.path() / "victim"));
}

TEST_F(Importer, ADryRunForetellsAndTouchesNothing) {
    importer->setDryRun(true);
    const fs::path font = folder.write("a/x.ttf", "font");
    const fs::path other = folder.write("b/x.ttf", "other");
    const fs::path equal = folder.write("c/x.ttf", "font");
    folder.write("target/D/Didot/Unknown/x.ttf", "font");
    folder.write("target/E", "a file");
    const auto before = treeOf(folder.path());
    EXPECT_EQ(import(font, "Acme"), "no-folder");
    importer->setCreateFolders(true);
    EXPECT_EQ(import(font, "Acme"), "copied");
    EXPECT_EQ(import(font, "Acme"), "same");
    EXPECT_EQ(import(other, "Acme"), "differs");
    EXPECT_EQ(import(equal, "Acme"), "same");
    EXPECT_EQ(import(font, "Didot"), "same");
    EXPECT_EQ(import(other, "Didot"), "differs");
    EXPECT_EQ(import(font, "Egmont"), failedWith(ENOTDIR));
    EXPECT_EQ(import(font, "../../x"), "refused");
    EXPECT_EQ(import(folder.path() / "missing.ttf", "Acme"), failedWith(ENOENT));
    EXPECT_EQ(treeOf(folder.path()), before);
}

}  // namespace
