#include "OxFontMover.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <thread>

#include "AppleDouble.h"
#include "ChildProcess.h"
#include "ForkLocator.h"
#include "ResourceForkBuilder.h"
#include "UnitTest.h"

namespace {

Bytes suitcaseFork(std::uint8_t content) {
    return ResourceForkBuilder().add("NFNT", 1, {content});
}

// A sidecar in the shape that copies get.
Bytes sidecar(std::string_view type, std::uint8_t content) {
    const Bytes fork = suitcaseFork(content);
    return appledouble::makeAppleDouble(FinderInfo::of(code(type), code("DMOV")), ByteView(fork));
}

class Mover : public testing::Test {
  protected:
    Mover() { fs::create_directory(target); }

    std::string move(const fs::path& source, const fs::path& destination) {
        boost::shared_ptr<OxFont> font;
        mover.Move(source, destination, font);
        const auto& last = mover.lastCopy();
        return last ? outcomeText(last->outcome, last->error) : "nothing";
    }
    Lines entries() const { return namesIn(target); }

    TemporaryFolder folder;
    fs::path target = folder.path() / "target";
    OxFontMover mover;
};

TEST_F(Mover, CopiesBytesTimeAndPermissions) {
    Bytes bytes(600 * 1024 + 7);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
    }
    const fs::path source = folder.write("font.ttf", bytes);
    const timespec times[2] = {{1, 0}, {987654321, 55}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    ASSERT_EQ(::chmod(source.c_str(), 0664), 0);
    const mode_t before = ::umask(022);
    EXPECT_EQ(move(source, target / "copy.ttf"), "copied");
    ::umask(before);
    EXPECT_EQ(readFile(target / "copy.ttf"), bytes);
    EXPECT_EQ(readFile(source), bytes);
    struct stat status;
    ASSERT_EQ(::stat((target / "copy.ttf").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 987654321);
    EXPECT_EQ(status.st_mtim.tv_nsec, 55);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    EXPECT_THAT(entries(), ElementsAre("copy.ttf"));

    EXPECT_EQ(move(folder.write("empty.ttf", ""), target / "empty.ttf"), "copied");
    EXPECT_EQ(fs::file_size(target / "empty.ttf"), 0u);
}

TEST_F(Mover, CopiesWhatTheKernelMakesUpAsItIsRead) {
    // Such files report a size of 0.
    EXPECT_EQ(move("/proc/version", target / "version"), "copied");
    EXPECT_EQ(readFile(target / "version"), readFile("/proc/version"));
}

TEST_F(Mover, LeavesWhateverIsAtTheDestination) {
    const fs::path source = folder.write("font.ttf", "new");
    folder.write("target/file", "old");
    fs::create_directory(target / "folder");
    fs::create_symlink("file", target / "link");
    fs::create_symlink("nowhere", target / "dangling");
    for (const char* taken : {"file", "folder", "link"}) {
        EXPECT_EQ(move(source, target / taken), "nothing") << taken;
    }
    EXPECT_EQ(move(source, target / "dangling"), "differs");
    EXPECT_EQ(readFile(target / "file"), bytesOf("old"));
    EXPECT_TRUE(fs::is_empty(target / "folder"));
    EXPECT_FALSE(fs::exists(target / "nowhere"));
    EXPECT_THAT(entries(), SizeIs(4));
}

TEST_F(Mover, SwallowsEveryFailureAndLeavesNothingBehind) {
    const fs::path font = folder.write("font.ttf", "font");
    ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
    fs::create_symlink("self", folder.path() / "self");
    const struct {
        fs::path source;
        fs::path destination;
        std::string outcome;
    } kCases[] = {{folder.path() / "missing", target / "x", failedWith(ENOENT)},
                  {folder.path() / "fifo", target / "x", failedWith(EOPNOTSUPP)},
                  {folder.path(), target / "x", failedWith(EISDIR)},
                  {"/dev/zero", target / "x", failedWith(EOPNOTSUPP)},
                  {folder.path() / "self", target / "x", failedWith(ELOOP)},
                  {font, target / "missing" / "x", "no-folder"},
                  {font, font / "x", "no-folder"},  // a file is no folder
                  {font, target / std::string(256, 'n'), failedWith(ENAMETOOLONG)},
                  {font, folder.path() / "self" / "x", failedWith(ELOOP)}};
    for (const auto& c : kCases) {
        EXPECT_EQ(move(c.source, c.destination), c.outcome) << c.source << " " << c.destination;
    }
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(Mover, LongNamesNeedNoRoomForATemporaryOne) {
    const fs::path font = folder.write("font.ttf", "font");
    EXPECT_EQ(move(font, target / std::string(255, 'n')), "copied");
    EXPECT_EQ(move(font, target / "new\nline\x1b[2J"), "copied");
}

TEST_F(Mover, FailsInAFolderThatCannotBeWritten) {
    const fs::path font = folder.write("font.ttf", "font");
    fs::permissions(folder.path(), fs::add_perms | fs::others_read | fs::others_exe);
    fs::permissions(font, fs::add_perms | fs::others_read);
    fs::permissions(target, fs::owner_read | fs::owner_exe | fs::others_read | fs::others_exe);
    const int status = runInChild([&] {
        dropPrivileges();
        return move(font, target / "x") == failedWith(EACCES) ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(Mover, AFullDiskLeavesNothingBehind) {
    const fs::path font = folder.write("font.ttf", Bytes(300 * 1024, 'x'));
    const int status = runInChild([&] {
        if (!mountSmallFileSystem(target.c_str(), 64 * 1024)) {
            return 77;
        }
        if (move(font, target / "x") != failedWith(ENOSPC) || !entries().empty()) {
            return 1;
        }
        // Nothing holds on to the space.
        return move(folder.write("small.ttf", Bytes(48 * 1024, 'x')), target / "x") == "copied" ? 0
                                                                                                : 2;
    });
    if (status == 77) {
        GTEST_SKIP() << "this system lets nobody mount a small file system";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(Mover, ALimitOnFileSizesLeavesNothingBehind) {
    const fs::path font = folder.write("font.ttf", Bytes(700 * 1024, 'x'));
    EXPECT_EQ(runInChild([&] {
                  ::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit{300 * 1024, 300 * 1024};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  return move(font, target / "x") == failedWith(EFBIG) ? 0 : 1;
              }),
              0);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(Mover, AFileThatChangesWhileItIsCopiedIsNotPublished) {
    // Sparse, so that copying takes its time and growing does not.
    const fs::path font = folder.write("font.ttf", "");
    fs::resize_file(font, 64u << 20);
    std::atomic<bool> ended{false};
    std::thread writer([&] {
        for (std::uintmax_t size = 65u << 20; !ended; ++size) {
            fs::resize_file(font, size);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    // A copy that the busy machine let through between two changes is a good one.
    std::string outcome = move(font, target / "x");
    while (outcome == "copied") {
        fs::remove(target / "x");
        outcome = move(font, target / "x");
    }
    ended = true;
    writer.join();
    EXPECT_EQ(outcome, failedWith(EIO));
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(Mover, KilledInMidCopyLeavesNoHalfFont) {
    const fs::path font = folder.write("huge.ttf", "");
    constexpr std::uintmax_t kSize = std::uintmax_t{8} << 30;
    boost::system::error_code error;
    fs::resize_file(font, kSize, error);
    if (error) {
        GTEST_SKIP() << "no room for a sparse file";
    }
    const pid_t child = startChild([&] {
        move(font, target / "copy.ttf");
        return 0;
    });
    // Not before the child has written something: how much, /proc tells.
    const auto written = [child] {
        std::ifstream io("/proc/" + std::to_string(child) + "/io");
        std::uint64_t bytes = 0;
        for (std::string key; io >> key;) {
            if (key == "wchar:") {
                io >> bytes;
            }
        }
        return bytes;
    };
    while (written() < (4u << 20)) {
        std::this_thread::yield();
    }
    ::kill(child, SIGKILL);
    EXPECT_EQ(waitForChild(child), 128 + SIGKILL) << "the copy ended before it could be killed";
    EXPECT_FALSE(fs::exists(target / "copy.ttf"));
    for (const std::string& name : entries()) {
        EXPECT_TRUE(name.ends_with(".part")) << name;
    }
}

TEST_F(Mover, ForksKeptOutsideTheFileTravel) {
    const fs::path suitcase = folder.write("Suitcase", "");
    folder.write("._Suitcase", sidecar("FFIL", 1));
    ASSERT_EQ(move(suitcase, target / "Other Name"), "copied");
    EXPECT_EQ(fs::file_size(target / "Other Name"), 0u);
    EXPECT_EQ(readFile(target / "._Other Name"), readFile(folder.path() / "._Suitcase"));
    ForkLocator locator;
    EXPECT_EQ(locator.finderInfo(target / "Other Name").info.type(), fourCharCode("FFIL"));
    EXPECT_EQ(*locator.resourceFork(target / "Other Name").bytes, suitcaseFork(1));
    EXPECT_THAT(entries(), SizeIs(2));
}

TEST_F(Mover, ASidecarIsNeverOverwrittenEither) {
    const fs::path suitcase = folder.write("Suitcase", "");
    folder.write("._Suitcase", sidecar("FFIL", 1));

    folder.write("target/._Suitcase", "somebody else's");
    EXPECT_EQ(move(suitcase, target / "Suitcase"), "differs");
    EXPECT_EQ(readFile(target / "._Suitcase"), bytesOf("somebody else's"));
    EXPECT_FALSE(fs::exists(target / "Suitcase")) << "it would have got the wrong fork";

    // What a copy that was killed half-way leaves behind.
    fs::remove(target / "._Suitcase");
    fs::copy_file(folder.path() / "._Suitcase", target / "._Suitcase");
    EXPECT_EQ(move(suitcase, target / "Suitcase"), "copied");

    // The file's name is taken: the sidecar goes again.
    fs::create_symlink("nowhere", target / "Dangling");
    EXPECT_EQ(move(suitcase, target / "Dangling"), "differs");
    EXPECT_FALSE(fs::exists(target / "._Dangling"));

    // No room for the longer name: no copy without its fork.
    EXPECT_EQ(move(suitcase, target / std::string(254, 'n')), failedWith(ENAMETOOLONG));
    EXPECT_FALSE(fs::exists(target / std::string(254, 'n')));
}

TEST_F(Mover, SameMeansBothForks) {
    const auto compare = [this](const std::string& a, const std::string& b) {
        const CopyResult result = mover.compare(folder.path() / a, folder.path() / b);
        return outcomeText(result.outcome, result.error);
    };
    const struct {
        std::string folder;
        const char* data;
        const char* type;  // null: no sidecar
        std::uint8_t fork;
    } kFonts[] = {{"a", "data", nullptr, 0}, {"b", "data", nullptr, 0}, {"c", "dat", nullptr, 0},
                  {"d", "dato", nullptr, 0}, {"e", "data", "FFIL", 1},  {"f", "data", "tfil", 1},
                  {"g", "data", "FFIL", 2}};
    for (const auto& font : kFonts) {
        folder.write(font.folder + "/font", font.data);
        if (font.type != nullptr) {
            folder.write(font.folder + "/._font", sidecar(font.type, font.fork));
        }
    }
    EXPECT_EQ(compare("a/font", "b/font"), "same");
    EXPECT_EQ(compare("a/font", "a/font"), "same");
    EXPECT_EQ(compare("e/font", "f/font"), "same");
    for (const char* other : {"c/font", "d/font", "e/font", "b", "missing"}) {
        EXPECT_EQ(compare("a/font", other), "differs") << other;
    }
    EXPECT_EQ(compare("e/font", "g/font"), "differs");
    EXPECT_EQ(compare("missing", "a/font"), failedWith(ENOENT));

    // The last byte of several pieces.
    Bytes large(600 * 1024, 'x');
    folder.write("large", large);
    large.back() = 'y';
    folder.write("larger", large);
    EXPECT_EQ(compare("large", "larger"), "differs");
}

TEST_F(Mover, ConfinedCopiesDoNotLeaveTheirFolder) {
    const fs::path font = folder.write("font.ttf", "font");
    fs::create_directory(folder.path() / "outside");
    fs::create_directory(target / "A");
    fs::create_symlink("../outside", target / "out");
    mover.confineTo(target);
    EXPECT_EQ(move(font, target / "A" / "x"), "copied");
    EXPECT_EQ(move(font, target / "out" / "x"), "refused");
    EXPECT_EQ(move(font, folder.path() / "outside" / "x"), "refused");
    EXPECT_EQ(move(font, target / ".." / "outside" / "x"), "refused");
    EXPECT_TRUE(fs::is_empty(folder.path() / "outside"));
}

}  // namespace
