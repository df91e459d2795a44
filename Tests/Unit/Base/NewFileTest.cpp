#include "NewFile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <utility>

#include "ChildProcess.h"
#include "MacRoman.h"
#include "UnitTest.h"

namespace {

int takenNames = 0;
// What somebody else does right before the next file is renamed.
std::function<void()> beforeRename;

int renamed(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    if (const auto act = std::exchange(beforeRename, nullptr)) {
        act();
    }
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

}  // namespace

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return renamed(fromFolder, from, toFolder, to, 0);
}
int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
              unsigned flags) noexcept {
    return renamed(fromFolder, from, toFolder, to, flags);
}

// Stands in for the system's, so that a test can have temporary names taken.
int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    if (takenNames > 0 && std::string_view(to).starts_with(".oxparser-")) {
        --takenNames;
        errno = EEXIST;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}

namespace {

int writeText(NewFile& file, std::string_view text) {
    return file.write(ByteView(bytesOf(text)));
}

class NewFileWays : public testing::TestWithParam<unsigned> {
  protected:
    FileDescriptor open() const {
        return FileDescriptor(::open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Each, NewFileWays,
                         testing::Values(NewFile::eAllWays, NewFile::eLink, NewFile::eRename,
                                         NewFile::eClaim));

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
        EXPECT_EQ(file.commit(), EBADF);
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("font"));
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
    EXPECT_THAT(namesIn(folder.path()), IsEmpty());
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
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("dangling", "file", "folder"));
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
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("file"));
}

TEST_P(NewFileWays, GivesBackWhatTookTheNameAtTheLastMoment) {
    const fs::path path = folder.path() / "file";
    NewFile first(GetParam());
    ASSERT_EQ(first.create(path), 0);
    ASSERT_EQ(writeText(first, "first"), 0);
    const std::string id = first.fileId();
    ASSERT_EQ(first.commit(), 0);
    NewFile second(GetParam());
    ASSERT_EQ(second.create(path), 0);
    ASSERT_EQ(writeText(second, "second"), 0);
    beforeRename = [&] {
        fs::remove(path);
        folder.write("file", "a user's");
    };
    EXPECT_EQ(second.replace(id), EEXIST);
    EXPECT_EQ(readFile(path), bytesOf("a user's"));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("file"));
}

TEST_P(NewFileWays, NeedsItsFolder) {
    EXPECT_EQ(NewFile(GetParam()).create(folder.path() / "none" / "file"), ENOENT);
    const FileDescriptor directory = open();
    fs::remove(folder.path());
    NewFile file(GetParam());
    // Some file systems still make unnamed files in a folder that is gone.
    const int created = file.create(directory, "font", 0600);
    EXPECT_EQ(created == 0 ? file.commit() : created, ENOENT);
    EXPECT_EQ(file.commit(), EBADF);
}

TEST(NewFile, TriesSixteenTemporaryNames) {
    for (const auto& [taken, status] : {std::pair(0, 0), {1, 0}, {15, 0}, {16, EEXIST}}) {
        const TemporaryFolder folder;
        NewFile first;
        ASSERT_EQ(first.create(folder.path() / "file"), 0);
        const std::string id = first.fileId();
        ASSERT_EQ(first.commit(), 0);
        NewFile second;
        ASSERT_EQ(second.create(folder.path() / "file"), 0);
        takenNames = taken;
        EXPECT_EQ(second.replace(id), status) << taken;
        EXPECT_EQ(takenNames, 0);
        EXPECT_THAT(namesIn(folder.path()), ElementsAre("file"));
    }
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
