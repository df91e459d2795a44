#include "FolderBelow.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "UnitTest.h"

namespace {

std::string below(const std::string& folder, const std::string& file) {
    const auto result = pathBelow(folder, file);
    return result ? result->string() : "(none)";
}

TEST(FolderBelow, ComparesPathsLexicallyElementByElement) {
    EXPECT_EQ(below("/dst", "/dst/./A/Acme/x.ttf"), "A/Acme/x.ttf");
    EXPECT_EQ(below("/dst/", "/dst/x"), "x");
    EXPECT_EQ(below("/dst/.", "/dst//x/"), "x");
    EXPECT_EQ(below("//dst", "/dst/x"), "x");
    EXPECT_EQ(below("/dst", "/dst/A/../B/x"), "B/x");
    EXPECT_EQ(below("/dst", "/dst/../dst/x"), "x");
    EXPECT_EQ(below("/", "/x"), "x");
    EXPECT_EQ(below("/", "/../../x"), "x");
    EXPECT_EQ(below("/dst", "/dst/..x"), "..x");

    EXPECT_EQ(below("/dst", "/dst"), "(none)");
    EXPECT_EQ(below("/dst", "/dst/A/.."), "(none)");
    EXPECT_EQ(below("/dst", "/dst/../x"), "(none)");
    EXPECT_EQ(below("/dst", "/dst/A/../../../etc/x"), "(none)");
    EXPECT_EQ(below("/dst", "/dst2/x"), "(none)");
    EXPECT_EQ(below("/dst", std::string("/dst/a\0b", 8)), "(none)");
}

TEST(FolderBelow, TakesRelativePathsFromTheCurrentFolder) {
    const std::string current = fs::current_path().string();
    EXPECT_EQ(below("dst", current + "/dst/x"), "x");
    EXPECT_EQ(below("", "./x"), "x");
    EXPECT_EQ(below("dst", "../dst/x"), "(none)");
}

class OpenFolderBelow : public testing::Test {
  protected:
    // The error of opening; the folder is looked at by creating a file in it.
    int open(const std::string& relative, MissingFolders missing = MissingFolders::eKeep) const {
        boost::system::error_code error;
        const FileDescriptor opened = openFolderBelow(root, relative, missing, error);
        EXPECT_EQ(opened.isOpen(), !error);
        if (opened.isOpen()) {
            const FileDescriptor mark(
                ::openat(opened.get(), "mark", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
            EXPECT_TRUE(mark.isOpen());
        }
        return error.value();
    }
    void link(const fs::path& target, const std::string& name) const {
        fs::create_symlink(target, root / name);
    }

    TemporaryFolder folder;
    fs::path root = folder.path() / "root";
};

TEST_F(OpenFolderBelow, CreatesFoldersOnlyWhenAsked) {
    EXPECT_EQ(open("A/B"), ENOENT);
    EXPECT_FALSE(fs::exists(root));
    EXPECT_EQ(open("A/B", MissingFolders::eCreate), 0);
    EXPECT_TRUE(fs::exists(root / "A/B/mark"));
    EXPECT_EQ(open("A"), 0);
    EXPECT_EQ(open(""), 0);

    folder.write("root/file", "");
    EXPECT_EQ(open("file"), ENOTDIR);
    EXPECT_EQ(open("file/C", MissingFolders::eCreate), ENOTDIR);
    EXPECT_EQ(open(std::string(300, 'n'), MissingFolders::eCreate), ENAMETOOLONG);
}

TEST_F(OpenFolderBelow, FollowsLinksThatStayBelowAndNoOthers) {
    fs::create_directories(root / "A/B");
    fs::create_directories(folder.path() / "outside/B");
    link("A", "inside");
    link(root / "A", "absolute");
    link("../outside", "out");
    link(folder.path() / "outside", "absolute out");
    link("..", "up");
    link("missing", "dangling");
    link("round", "round");
    link("../../outside", "A/deep");
    link("/", "top");

    EXPECT_EQ(open("inside/B"), 0);
    EXPECT_TRUE(fs::exists(root / "A/B/mark"));
    EXPECT_EQ(open("absolute/new", MissingFolders::eCreate), 0);
    EXPECT_TRUE(fs::exists(root / "A/new/mark"));
    for (const char* const out :
         {"out", "out/B", "absolute out", "up", "up/outside", "A/deep/B", "inside/deep", "top"}) {
        for (const MissingFolders missing : {MissingFolders::eKeep, MissingFolders::eCreate}) {
            EXPECT_EQ(open(out, missing), EXDEV) << out;
        }
    }
    EXPECT_EQ(open("dangling", MissingFolders::eCreate), ENOENT);
    EXPECT_EQ(open("round"), ELOOP);
    EXPECT_TRUE(fs::is_empty(folder.path() / "outside/B"));
}

TEST_F(OpenFolderBelow, TheRootItselfMayBeALink) {
    fs::create_directories(folder.path() / "real/A");
    fs::create_symlink("real", root);
    link("A", "inside");
    EXPECT_EQ(open("inside"), 0);
    EXPECT_TRUE(fs::exists(folder.path() / "real/A/mark"));
}

}  // namespace
