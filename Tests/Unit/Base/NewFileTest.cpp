#include "NewFile.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "MacRoman.h"
#include "Support.h"

namespace fs = boost::filesystem;

namespace {

class NewFileTest : public testing::Test {
  protected:
    fs::path path() const { return folder_.path() / "file"; }
    std::size_t entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
    }
    static int writeText(NewFile& file, const Bytes& bytes) { return file.write(ByteView(bytes)); }

    TemporaryFolder folder_;
};

TEST_F(NewFileTest, AppearsWhenItIsCommitted) {
    NewFile file;
    ASSERT_EQ(file.create(path()), 0);
    EXPECT_EQ(writeText(file, bytesOf("one ")), 0);
    EXPECT_EQ(writeText(file, bytesOf("two")), 0);
    EXPECT_FALSE(fs::exists(path()));
    EXPECT_EQ(file.commit(), 0);
    EXPECT_EQ(readFile(path()), bytesOf("one two"));
    EXPECT_EQ(entries(), 1u);
    EXPECT_EQ(file.commit(), EBADF);
}

TEST_F(NewFileTest, NeverTakesANameThatIsTaken) {
    NewFile file;
    ASSERT_EQ(file.create(path()), 0);
    folder_.write("file", "mine");
    EXPECT_EQ(file.commit(), EEXIST);
    EXPECT_EQ(readFile(path()), bytesOf("mine"));
    EXPECT_EQ(entries(), 1u);
}

TEST_F(NewFileTest, ReplacesOnlyItsOwnEarlierFile) {
    NewFile first;
    ASSERT_EQ(first.create(path()), 0);
    const std::string id = first.fileId();
    ASSERT_EQ(first.commit(), 0);
    NewFile second;
    ASSERT_EQ(second.create(path()), 0);
    ASSERT_EQ(writeText(second, bytesOf("second")), 0);
    const std::string secondId = second.fileId();
    EXPECT_EQ(second.replace(id), 0);
    EXPECT_EQ(readFile(path()), bytesOf("second"));
    NewFile third;
    ASSERT_EQ(third.create(path()), 0);
    EXPECT_EQ(third.replace(id), EEXIST);  // the name belongs to the second
    fs::remove(path());
    ASSERT_EQ(third.create(path()), 0);
    EXPECT_EQ(third.replace(secondId), 0);  // nobody has it: a new file
    EXPECT_EQ(entries(), 1u);
}

TEST_F(NewFileTest, LeavesNothingBehindWithoutCommit) {
    {
        NewFile file;
        ASSERT_EQ(file.create(path()), 0);
        ASSERT_EQ(writeText(file, bytesOf("text")), 0);
        EXPECT_EQ(entries(), 1u);
    }
    EXPECT_EQ(entries(), 0u);
    NewFile file;
    EXPECT_EQ(file.create(folder_.path() / "none" / "file"), ENOENT);
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
