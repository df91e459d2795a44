#include "StagedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cerrno>

#include "ChildProcess.h"
#include "Support.h"

namespace {

namespace fs = boost::filesystem;

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class StagedFileWays : public testing::TestWithParam<unsigned> {
  protected:
    FileDescriptor open() const {
        return FileDescriptor(::open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Each, StagedFileWays,
                         testing::Values(StagedFile::AllWays, StagedFile::Link, StagedFile::Rename,
                                         StagedFile::Claim));

TEST_P(StagedFileWays, AppearsCompleteAndOnlyWhenPublished) {
    const FileDescriptor directory = open();
    {
        StagedFile file(GetParam());
        ASSERT_FALSE(file.create(directory, 0640));
        ASSERT_FALSE(file.write(bytesOf("first ")));
        ASSERT_FALSE(file.write(bytesOf("second")));
        file.setModificationTime({1000000000, 123456789});
        EXPECT_FALSE(fs::exists(folder.path() / "font"));
        ASSERT_FALSE(file.publish("font"));
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

TEST_P(StagedFileWays, LeavesNothingWhenItIsNotPublished) {
    const FileDescriptor directory = open();
    {
        StagedFile file(GetParam());
        ASSERT_FALSE(file.create(directory, 0600));
        ASSERT_FALSE(file.write(bytesOf("half a fo")));
    }
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

TEST_P(StagedFileWays, NeverReplacesAnything) {
    folder.write("file", "mine");
    fs::create_directory(folder.path() / "folder");
    fs::create_symlink("nowhere", folder.path() / "dangling");
    const FileDescriptor directory = open();
    for (const char* const name : {"file", "folder", "dangling"}) {
        StagedFile file(GetParam());
        ASSERT_FALSE(file.create(directory, 0600));
        ASSERT_FALSE(file.write(bytesOf("new")));
        EXPECT_EQ(file.publish(name).value(), EEXIST) << name;
        file.withdraw(name);
    }
    EXPECT_EQ(namesIn(folder.path()), (std::vector<std::string>{"dangling", "file", "folder"}));
    EXPECT_EQ(readFile(folder.path() / "file"), bytesOf("mine"));
    EXPECT_FALSE(fs::exists(folder.path() / "nowhere"));
}

TEST_P(StagedFileWays, WithdrawsItsOwnFileOnly) {
    const FileDescriptor directory = open();
    StagedFile file(GetParam());
    ASSERT_FALSE(file.create(directory, 0600));
    ASSERT_FALSE(file.publish("font"));
    fs::rename(folder.path() / "font", folder.path() / "moved");
    folder.write("font", "somebody else's");
    file.withdraw("font");
    EXPECT_TRUE(fs::exists(folder.path() / "font"));
    file.withdraw("moved");
    EXPECT_FALSE(fs::exists(folder.path() / "moved"));
}

TEST_P(StagedFileWays, KilledLeavesNoFontBehind) {
    const int status = runInChild([this] {
        const FileDescriptor directory = open();
        StagedFile file(GetParam());
        if (file.create(directory, 0600) || file.write(bytesOf("half a fo"))) {
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

}  // namespace
