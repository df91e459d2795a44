#include "FileBytes.h"

#include "UnitTest.h"

namespace {

TEST(FileBytes, OpenedAgainReadsTheOtherFileAndKeepsOneDescriptor) {
    const TemporaryFolder folder;
    const fs::path first = folder.write("first", Bytes{1, 2, 3});
    const fs::path second = folder.write("second", Bytes{4, 5});
    const std::size_t before = namesIn("/proc/self/fd").size();
    FileBytes file;
    ASSERT_TRUE(file.open(first));
    ASSERT_TRUE(file.open(second));
    EXPECT_EQ(namesIn("/proc/self/fd").size(), before + 1);
    ByteBuffer buffer;
    EXPECT_EQ(file.readAll(buffer), 2u);
    EXPECT_EQ(buffer.data()[0], 4);
    EXPECT_FALSE(file.open(folder.path()));
    EXPECT_EQ(file.size(), 0u);
    EXPECT_EQ(namesIn("/proc/self/fd").size(), before);
}

}  // namespace
