#include "OxFileFactory.h"

#include <sys/stat.h>

#include <cerrno>

#include "ChildProcess.h"
#include "LogRecorder.h"
#include "ScanTest.h"

namespace {

class Walk : public testing::Test {
  protected:
    // The files that the walk finds, relative to the folder, in the order of the parsers.
    Lines walked(const std::deque<fs::path>& sources, bool tolerant = false) {
        Lines files;
        OxParser parser(std::queue<fs::path>(sources), kNoList, kNoList);
        parser.setTolerantWalk(tolerant);
        ScanHost host(parser);
        // The parsers of fonts are asked before this one, but take none of these names.
        parser.addParserImp(
            new ScriptedParser([](const fs::path&) -> FontList* { return nullptr; },
                               [&](const fs::path& file) {
                                   files.push_back(file.lexically_relative(folder.path()).string());
                                   return true;
                               }));
        host.run();
        walkErrors = host.walkErrors;
        EXPECT_EQ(host.found.size(), files.size());
        EXPECT_EQ(parser.totalFiles(), static_cast<int>(files.size()));
        return files;
    }
    Lines walked(bool tolerant = false) { return walked({folder.path()}, tolerant); }
    void link(const std::string& target, const std::string& name) {
        fs::create_symlink(target, folder.path() / name);
    }

    TemporaryFolder folder;
    Lines walkErrors;
};

TEST_F(Walk, ProducesASingleFileAndNothingForAMissingSource) {
    const fs::path file = folder.write("one.x", "");
    folder.write("two.x", "");
    EXPECT_THAT(walked({file}), ElementsAre("one.x"));
    EXPECT_THAT(walked({folder.path() / "missing"}), IsEmpty());
    EXPECT_THAT(walked({folder.path() / "missing"}, true), IsEmpty());
    EXPECT_THAT(walkErrors, IsEmpty());
}

TEST_F(Walk, TakesTheSourcesOneAfterTheOther) {
    folder.write("b/deep/er/one.x", "");
    folder.write("a/two.x", "");
    for (const bool tolerant : {false, true}) {
        EXPECT_THAT(
            walked({folder.path() / "b", folder.path() / "missing", folder.path() / "a"}, tolerant),
            ElementsAre("b/deep/er/one.x", "a/two.x"));
    }
}

TEST_F(Walk, FiltersNothingAndFollowsLinks) {
    folder.write("real/.hidden.x", "");
    folder.write("real/Bundle.app/no extension", "");
    folder.write("outside.x", "");
    ASSERT_EQ(::mkfifo((folder.path() / "real/fifo.x").c_str(), 0600), 0);
    link("../outside.x", "real/link.x");
    link("nowhere", "real/dangling.x");
    fs::create_directories(folder.path() / "elsewhere");
    folder.write("elsewhere/behind a link.x", "");
    link("../elsewhere", "real/folder");
    for (const bool tolerant : {false, true}) {
        EXPECT_THAT(
            walked({folder.path() / "real"}, tolerant),
            UnorderedElementsAre("real/.hidden.x", "real/Bundle.app/no extension", "real/fifo.x",
                                 "real/link.x", "real/dangling.x", "real/folder/behind a link.x"));
    }
}

TEST_F(Walk, StopsAtWhatCannotBeReadUnlessItIsTolerant) {
    folder.write("1/a.x", "");
    link("loop", "2");  // each leads to the other: no status to be had
    link("2", "loop");
    folder.write("3/c.x", "");
    const std::deque<fs::path> sources = {folder.path() / "1", folder.path() / "2",
                                          folder.path() / "3"};
    {
        const LogRecorder log;
        EXPECT_THAT(walked(sources), ElementsAre("1/a.x"));
        EXPECT_THAT(log.linesWith("OxFileFactory ERROR"), SizeIs(1));
    }
    EXPECT_THAT(walked(sources, true), ElementsAre("1/a.x", "3/c.x"));
    EXPECT_THAT(walkErrors, ElementsAre("2: " + std::to_string(ELOOP)));
}

TEST_F(Walk, ATolerantWalkNamesTheEntriesAndFoldersThatItCannotRead) {
    folder.write("a/a.x", "");
    link("self", "a/self");
    folder.write("closed/c.x", "");
    folder.write("z.x", "");
    fs::permissions(folder.path(), fs::add_perms | fs::others_read | fs::others_exe);
    fs::permissions(folder.path() / "closed", fs::no_perms);
    const int status = runInChild([&] {
        dropPrivileges();
        const Lines files = walked(true);
        std::sort(walkErrors.begin(), walkErrors.end());
        return files.size() == 2 && walkErrors.size() == 2 &&
                       walkErrors[0] == "closed: " + std::to_string(EACCES) &&
                       walkErrors[1] == "self: " + std::to_string(ELOOP)
                   ? 0
                   : 1;
    });
    fs::permissions(folder.path() / "closed", fs::owner_all);
    EXPECT_EQ(status, 0);
}

TEST_F(Walk, ATolerantWalkDoesNotEnterAFolderWithinItself) {
    folder.write("a/b/file.x", "");
    link("../..", "a/b/up");
    link("..", "a/b/parent");
    link(".", "a/b/here");
    EXPECT_THAT(walked(true), ElementsAre("a/b/file.x"));
    EXPECT_THAT(walkErrors, IsEmpty());
}

TEST_F(Walk, ATolerantWalkLeavesOutSidecarsAndNothingElse) {
    const Bytes magic = {0x00, 0x05, 0x16, 0x07, 0x00, 0x02, 0x00, 0x00};
    for (const char* sidecar : {"._A.x", "%A.x", "._orphan"}) {
        folder.write(sidecar, magic);
    }
    folder.write("._B", "a user's own file");
    for (const char* name : {"A.x", "B", "%B", "._", "%", ".DS_Store", "FINDER.DAT", "my.rsrc/x"}) {
        folder.write(name, "");
    }
    const char* const sidecarFolders[] = {
        ".AppleDouble",  ".resource", ".finderinfo",  ".rsrc",        ".finf",        ".HSResource",
        ".AppleDesktop", "__MACOSX",  "resource.frk", "RESOURCE.FRK", ".appledouble", "__macosx"};
    for (const std::string name : sidecarFolders) {
        folder.write("sub/" + name + "/A.x", "");
        folder.write("sub/" + name + "/deeper/B", "");
    }
    EXPECT_THAT(walked(true), UnorderedElementsAre("A.x", "._orphan", "B", "._B", "%B", "._", "%",
                                                   ".DS_Store", "FINDER.DAT", "my.rsrc/x"));
    EXPECT_THAT(walked(false), SizeIs(12 + 2 * std::size(sidecarFolders)));
}

TEST_F(Walk, ACancelledTolerantWalkStops) {
    for (int i = 0; i < 50; ++i) {
        folder.write("f" + std::to_string(i % 5) + "/" + std::to_string(i), "");
    }
    // Within a folder, and between two sources.
    const std::pair<std::deque<fs::path>, int> kCases[] = {
        {{folder.path()}, 7}, {{folder.write("one", ""), folder.path()}, 1}};
    for (const auto& [sources, most] : kCases) {
        OxParser parser(std::queue<fs::path>(sources), kNoList, kNoList);
        parser.setTolerantWalk(true);
        ScanHost host(parser);
        host.cancelAt(most);
        host.run();
        EXPECT_THAT(host.found, SizeIs(most));
        EXPECT_THAT(host.fileCompletions, ElementsAre(true));
        EXPECT_EQ(parser.totalFiles(), most);
    }
}

}  // namespace
