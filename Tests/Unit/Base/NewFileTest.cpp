#include "NewFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "ChildProcess.h"
#include "MacRoman.h"
#include "Support.h"

namespace fs = boost::filesystem;

namespace {

int writeText(NewFile& file, std::string_view text) {
    return file.write(ByteView(bytesOf(text)));
}

class NewFileTest : public testing::Test {
  protected:
    fs::path path() const { return folder_.path() / "file"; }
    std::size_t entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
    }

    TemporaryFolder folder_;
};

TEST_F(NewFileTest, AppearsWhenItIsCommitted) {
    NewFile file;
    ASSERT_EQ(file.create(path()), 0);
    EXPECT_EQ(writeText(file, "one "), 0);
    EXPECT_EQ(writeText(file, "two"), 0);
    EXPECT_FALSE(fs::exists(path()));
    EXPECT_EQ(file.commit(), 0);
    EXPECT_EQ(readFile(path()), bytesOf("one two"));
    EXPECT_EQ(entries(), 1u);
    EXPECT_EQ(file.commit(), EBADF);
}

TEST_F(NewFileTest, NeedsItsFolder) {
    NewFile file;
    EXPECT_EQ(file.create(folder_.path() / "none" / "file"), ENOENT);
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class NewFileWays : public testing::TestWithParam<unsigned> {
  protected:
    FileDescriptor open() const {
        return FileDescriptor(::open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Each, NewFileWays,
                         testing::Values(NewFile::AllWays, NewFile::Link, NewFile::Rename,
                                         NewFile::Claim));

TEST_P(NewFileWays, AppearsCompleteAndOnlyWhenPublished) {
    const FileDescriptor directory = open();
    {
        NewFile file(GetParam());
        ASSERT_EQ(file.create(directory, "font", 0640), 0);
        ASSERT_EQ(writeText(file, "first "), 0);
        ASSERT_EQ(writeText(file, "second"), 0);
        file.setModificationTime({1000000000, 123456789});
        EXPECT_FALSE(fs::exists(folder.path() / "font"));
        ASSERT_EQ(file.commit(), 0);
    }
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"font"});
    EXPECT_EQ(readFile(folder.path() / "font"), bytesOf("first second"));
    struct stat status;
    ASSERT_EQ(::stat((folder.path() / "font").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(status.st_mtim.tv_sec, 1000000000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(status.st_nlink, 1u);
}

TEST_P(NewFileWays, LeavesNothingWhenItIsNotPublished) {
    const FileDescriptor directory = open();
    {
        NewFile file(GetParam());
        ASSERT_EQ(file.create(directory, "font", 0600), 0);
        ASSERT_EQ(writeText(file, "half a fo"), 0);
    }
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

TEST_P(NewFileWays, NeverReplacesAnything) {
    folder.write("file", "mine");
    fs::create_directory(folder.path() / "folder");
    fs::create_symlink("nowhere", folder.path() / "dangling");
    const FileDescriptor directory = open();
    for (const char* const name : {"file", "folder", "dangling"}) {
        NewFile file(GetParam());
        ASSERT_EQ(file.create(directory, name, 0600), 0);
        ASSERT_EQ(writeText(file, "new"), 0);
        EXPECT_EQ(file.commit(), EEXIST) << name;
        file.withdraw();
    }
    EXPECT_EQ(namesIn(folder.path()), (std::vector<std::string>{"dangling", "file", "folder"}));
    EXPECT_EQ(readFile(folder.path() / "file"), bytesOf("mine"));
    EXPECT_FALSE(fs::exists(folder.path() / "nowhere"));
}

TEST_P(NewFileWays, ReplacesOnlyItsOwnEarlierFile) {
    const fs::path path = folder.path() / "file";
    NewFile first(GetParam());
    ASSERT_EQ(first.create(path), 0);
    const std::string id = first.fileId();
    ASSERT_EQ(first.commit(), 0);
    NewFile second(GetParam());
    ASSERT_EQ(second.create(path), 0);
    ASSERT_EQ(writeText(second, "second"), 0);
    const std::string secondId = second.fileId();
    EXPECT_EQ(second.replace(id), 0);
    EXPECT_EQ(readFile(path), bytesOf("second"));
    NewFile third(GetParam());
    ASSERT_EQ(third.create(path), 0);
    EXPECT_EQ(third.replace(id), EEXIST);  // the name belongs to the second
    fs::remove(path);
    ASSERT_EQ(third.create(path), 0);
    EXPECT_EQ(third.replace(secondId), 0);  // nobody has it: a new file
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"file"});
}

TEST_P(NewFileWays, WithdrawsItsOwnFileOnly) {
    const FileDescriptor directory = open();
    NewFile file(GetParam());
    ASSERT_EQ(file.create(directory, "font", 0600), 0);
    ASSERT_EQ(file.commit(), 0);
    fs::rename(folder.path() / "font", folder.path() / "moved");
    folder.write("font", "somebody else's");
    file.withdraw();
    EXPECT_TRUE(fs::exists(folder.path() / "font"));
    fs::rename(folder.path() / "moved", folder.path() / "font");
    file.withdraw();
    EXPECT_FALSE(fs::exists(folder.path() / "font"));
}

TEST_P(NewFileWays, KilledLeavesNoFontBehind) {
    const int status = runInChild([this] {
        const FileDescriptor directory = open();
        NewFile file(GetParam());
        if (file.create(directory, "font", 0600) || writeText(file, "half a fo")) {
            return 1;
        }
        ::raise(SIGKILL);
        return 2;
    });
    ASSERT_EQ(status, 128 + SIGKILL);
    for (const std::string& name : namesIn(folder.path())) {
        EXPECT_EQ(name.rfind(".oxparser-", 0), 0u) << name;
        EXPECT_EQ(fs::path(name).extension(), ".part") << name;
    }
}

TEST(MacRoman, ComesBackFromUtf8) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    for (const char c : all) {
        EXPECT_EQ(macRomanFromUtf8(macRomanToUtf8(std::string_view(&c, 1))), std::string(1, c));
    }
    EXPECT_EQ(macRomanFromUtf8("a\xE6\xBC\xA2z"), "a_z");
    EXPECT_EQ(macRomanFromUtf8("\xFF"), "_");
}

}  // namespace
