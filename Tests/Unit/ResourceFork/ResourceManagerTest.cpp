#include "ResourceManager.h"

#include <sys/stat.h>
#include <unistd.h>

#include <boost/thread/thread.hpp>

#include "ResourceForkBuilder.h"
#include "UnitTest.h"

namespace {

const ResType kFond = code("FOND");
const ResType kSfnt = code("sfnt");
constexpr std::int8_t kWriteOnly = 2;

std::string text(Handle handle) {
    return std::string(handleBytes(handle).text());
}

// A fork with one family of that text.
Bytes forkOf(std::string_view text) {
    return ResourceForkBuilder().add("FOND", 1, bytesOf(text));
}

// The status that the call leaves.
template <typename... Parameters, typename... Arguments>
std::int16_t after(void (*function)(Parameters...), Arguments... arguments) {
    function(static_cast<Parameters>(arguments)...);
    return ResError();
}

class ResourceManagerTest : public testing::Test {
  protected:
    ~ResourceManagerTest() override {
        for (const std::int16_t number : opened_) {
            CloseResFile(number);
        }
        UseResFile(0);
    }

    static FSRef refTo(const fs::path& path) {
        FSRef ref;
        EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr);
        return ref;
    }
    // The new reference number, or the status when that is not zero.
    std::int16_t open(const fs::path& path, bool dataFork = false) {
        FSRef ref;
        ref.path = path;
        return openRef(ref, dataFork, fsRdPerm);
    }
    std::int16_t openRef(const FSRef& ref, bool dataFork, std::int8_t permission) {
        HFSUniStr255 name;
        EXPECT_EQ(dataFork ? FSGetDataForkName(&name) : FSGetResourceForkName(&name), noErr);
        std::int16_t number = 0;
        const std::int16_t status = FSOpenResourceFile(&ref, name, permission, &number);
        EXPECT_EQ(ResError(), status);
        EXPECT_EQ(number == -1, status != noErr);
        if (status == noErr) {
            opened_.push_back(number);
            EXPECT_EQ(CurResFile(), number);
        }
        return status == noErr ? number : status;
    }
    std::int16_t openDfont(const std::string& name, const Bytes& fork) {
        return open(folder_.write(name, fork), true);
    }

    TemporaryFolder folder_;
    std::vector<std::int16_t> opened_;
};

TEST_F(ResourceManagerTest, GetsResourcesOfTheCurrentFileOnly) {
    const auto first = openDfont(
        "a.dfont",
        ResourceForkBuilder().add("FOND", 1, bytesOf("one"), "One").add("FOND", 2, bytesOf("two")));
    const auto second = openDfont(
        "b.dfont",
        ResourceForkBuilder().add("FOND", 3, bytesOf("three")).add("sfnt", 1, bytesOf("outline")));
    ASSERT_GT(first, 0);
    ASSERT_GT(second, 0);
    EXPECT_EQ(Count1Resources(kFond), 1);
    EXPECT_EQ(Get1Resource(kFond, 1), nullptr);
    UseResFile(first);
    EXPECT_EQ(Count1Resources(kFond), 2);
    EXPECT_EQ(text(Get1IndResource(kFond, 1)), "one");
    EXPECT_EQ(text(Get1IndResource(kFond, 2)), "two");
    EXPECT_EQ(text(Get1Resource(kFond, 2)), "two");
    EXPECT_EQ(Get1Resource(kFond, 1), Get1IndResource(kFond, 1));
    EXPECT_EQ(Get1Resource(kSfnt, 1), nullptr);
}

TEST_F(ResourceManagerTest, EveryCallSetsTheStatusAnew) {
    const Bytes compressed = {0xA8, 0x9F, 0x65, 0x72, 0};
    ResourceForkBuilder builder;
    builder.add("FOND", 1, bytesOf("one")).add("FOND", 2, compressed, "", 1);
    builder.add("FOND", 3, bytesOf("outside"));
    Bytes fork = builder.build();
    patch(fork, builder.referenceAt(2) + 6, 2, 0xFFFF);
    openDfont("a.dfont", fork);
    const auto check = [](Handle handle, std::int16_t status) {
        EXPECT_EQ(ResError(), status);
        EXPECT_EQ(ResError(), status);  // asking does not clear it
        EXPECT_TRUE(handle == nullptr || status == noErr);
        EXPECT_GT(CurResFile(), 0);
        EXPECT_EQ(ResError(), noErr);  // but the next call does
    };
    check(Get1Resource(kFond, 9), resNotFound);
    check(Get1Resource(kFond, 3), resNotFound);
    check(Get1Resource(kSfnt, 1), noErr);  // a type that the file does not hold at all
    EXPECT_EQ(Get1Resource(kSfnt, 1), nullptr);
    check(Get1IndResource(kSfnt, 1), resNotFound);
    const std::pair<std::int16_t, std::int16_t> kIndexes[] = {
        {-1, resNotFound}, {0, resNotFound}, {1, noErr}, {2, CantDecompress}, {4, resNotFound}};
    for (const auto& [index, status] : kIndexes) {
        check(Get1IndResource(kFond, index), status);
    }
    EXPECT_EQ(Count1Resources(kSfnt), 0);
    EXPECT_EQ(ResError(), noErr);
}

TEST_F(ResourceManagerTest, TellsIdTypeNameAndSizeOfAResource) {
    openDfont("a.dfont", ResourceForkBuilder()
                             .add("FOND", -7, bytesOf("data"), std::string(255, 'n'))
                             .add("FOND", 8, {}));
    std::int16_t id = 0;
    ResType type = 0;
    Str255 name;
    Handle handle = Get1IndResource(kFond, 1);
    EXPECT_EQ(after(GetResInfo, handle, &id, &type, name), noErr);
    EXPECT_EQ(id, -7);
    EXPECT_EQ(type, kFond);
    EXPECT_EQ(std::string(name + 1, name + 1 + name[0]), std::string(255, 'n'));
    EXPECT_EQ(after(GetResInfo, handle, nullptr, nullptr, nullptr), noErr);
    HLock(handle);
    EXPECT_EQ(std::string(*handle, 4), "data");
    HUnlock(handle);

    Handle empty = Get1Resource(kFond, 8);
    ASSERT_NE(empty, nullptr);
    EXPECT_NE(*empty, nullptr);
    EXPECT_EQ(GetHandleSize(empty), 0);
    GetResInfo(empty, &id, &type, name);
    EXPECT_EQ(name[0], 0);

    char* foreign = nullptr;
    for (Handle none : {Handle{nullptr}, &foreign}) {
        EXPECT_EQ(GetHandleSize(none), 0);
        EXPECT_TRUE(handleBytes(none).empty());
        EXPECT_EQ(after(GetResInfo, none, &id, &type, name), resNotFound);
        EXPECT_EQ(id, 8);
    }
}

TEST_F(ResourceManagerTest, OpeningClosingAndTheCurrentFile) {
    EXPECT_EQ(CurResFile(), 0);
    const Bytes fork = forkOf("x");
    const auto first = openDfont("a.dfont", fork);
    const auto again = open(folder_.path() / "a.dfont", true);
    EXPECT_NE(first, again);
    Handle handle = Get1IndResource(kFond, 1);
    CloseResFile(first);
    EXPECT_EQ(CurResFile(), again);
    EXPECT_EQ(text(handle), "x");
    EXPECT_EQ(after(CloseResFile, first), resFNotFound);  // not open any more
    EXPECT_EQ(CurResFile(), again);
    for (const std::int16_t number : std::initializer_list<std::int16_t>{-1, 0, 12345}) {
        CloseResFile(number);
        EXPECT_EQ(CurResFile(), again);
    }
    EXPECT_EQ(after(UseResFile, first), resFNotFound);
    EXPECT_EQ(CurResFile(), again);

    const auto third = openDfont("c.dfont", fork);
    CloseResFile(third);
    EXPECT_EQ(CurResFile(), again);
    EXPECT_EQ(open(folder_.path() / "missing", true), fnfErr);
    EXPECT_EQ(CurResFile(), again);
    CloseResFile(again);
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(GetHandleSize(handle), 0);  // its file is closed
    EXPECT_EQ(Count1Resources(kFond), 0);
    EXPECT_EQ(ResError(), resFNotFound);
    EXPECT_EQ(Get1Resource(kFond, 1), nullptr);
    EXPECT_EQ(ResError(), resFNotFound);
}

TEST_F(ResourceManagerTest, FailuresToOpenHaveTheirStatus) {
    const Bytes fork = forkOf("x");
    const fs::path fifo = folder_.path() / "fifo.dfont";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const fs::path large = folder_.write("large.dfont", fork);
    ASSERT_EQ(::truncate(large.c_str(), off_t{1} << 31), 0);
    const struct {
        fs::path file;
        std::int16_t asDataFork;
        std::int16_t asResourceFork;
    } kCases[] = {{folder_.write("empty", ""), eofErr, eofErr},
                  {folder_.write("text", "no resource file, but long enough"), mapReadErr, eofErr},
                  {folder_.write("cut", Bytes(fork.begin(), fork.end() - 1)), mapReadErr, eofErr},
                  {folder_.path(), fnfErr, fnfErr},
                  {folder_.path() / "none/none", fnfErr, fnfErr},
                  {fifo, fnfErr, fnfErr},
                  {large, memFullErr, memFullErr}};
    for (const auto& c : kCases) {
        EXPECT_EQ(open(c.file, true), c.asDataFork) << c.file;
        EXPECT_EQ(open(c.file), c.asResourceFork) << c.file;
    }
    EXPECT_GT(openDfont("placeholder.dfont", placeholderFork()), 0);
    EXPECT_EQ(Count1Resources(kFond), 0);
}

TEST_F(ResourceManagerTest, WhatIsThereIsOpenedForReadingOnly) {
    FSRef file = refTo(folder_.write("a.dfont", forkOf("x")));
    for (const bool dataFork : {true, false}) {
        EXPECT_EQ(openRef(file, dataFork, fsRdWrPerm), wrPermErr);
        EXPECT_EQ(openRef(file, dataFork, kWriteOnly), wrPermErr);
    }
    HFSUniStr255 unknown;
    unknown.name = "OTHER_FORK";
    std::int16_t number = 0;
    EXPECT_EQ(FSOpenResourceFile(&file, unknown, fsRdPerm, &number), paramErr);
    EXPECT_EQ(number, -1);
}

TEST_F(ResourceManagerTest, ADfontIsTheFilesOwnBytesWhateverLiesBeside) {
    const Bytes fork = forkOf("inside");
    folder_.write("._a.dfont", appleDouble("FFIL", "DMOV", ResourceForkBuilder().build()));
    openDfont("a.dfont", fork);
    EXPECT_EQ(text(Get1Resource(kFond, 1)), "inside");
    EXPECT_EQ(openDfont("single.dfont", appleDouble("FFIL", "DMOV", fork)), mapReadErr);
}

TEST_F(ResourceManagerTest, UnreadableFilesAreNotPermitted) {
    const fs::path file = folder_.write("a.dfont", forkOf("x"));
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
    // Root may read everything.
    const uid_t user = ::geteuid();
    if (user == 0 && ::seteuid(65534) != 0) {
        GTEST_SKIP() << "cannot become an ordinary user";
    }
    const auto asData = open(file, true), asResource = open(file);
    if (user == 0) {
        ASSERT_EQ(::seteuid(user), 0);
    }
    EXPECT_EQ(asData, permErr);
    EXPECT_EQ(asResource, permErr);
}

TEST_F(ResourceManagerTest, CatalogInformationOfFilesAndFolders) {
    const fs::path file = folder_.write("Suitcase", "");
    folder_.write("._Suitcase", appleDouble("FFIL", "DMOV", {}));
    FSRef ref = refTo(file);
    FSCatalogInfo info;
    FSRefParam block;
    block.ref = &ref;
    block.catInfo = &info;
    EXPECT_EQ(PBGetCatalogInfoSync(&block), noErr);
    EXPECT_EQ(info.fileType(), code("FFIL"));
    EXPECT_EQ(info.fileCreator(), code("DMOV"));
    EXPECT_FALSE(info.isFolder);
    fs::remove(file);
    EXPECT_EQ(FSGetCatalogInfo(&ref, &info), fnfErr);

    fs::create_directory(folder_.path() / "Folder");
    folder_.write("._Folder", appleDouble("FFIL", "DMOV", {}));
    ref = refTo(folder_.path() / "Folder");
    EXPECT_EQ(FSGetCatalogInfo(&ref, &info), noErr);
    EXPECT_EQ(info.fileType(), 0u);
    EXPECT_TRUE(info.isFolder);
    EXPECT_EQ(FSPathMakeRef((folder_.path() / "none").c_str(), &ref), fnfErr);
    EXPECT_EQ(FSPathMakeRef(nullptr, &ref), paramErr);
}

class NewSuitcaseTest : public ResourceManagerTest {
  protected:
    std::int16_t create(const std::string& name, FSRef* ref) {
        const FSRef parent = refTo(folder_.path());
        FSCatalogInfo info;
        info.finderInfo = FinderInfo::of(code("FFIL"), code("DMOV"));
        HFSUniStr255 fork;
        FSGetResourceForkName(&fork);
        const std::int16_t status = FSCreateResourceFile(&parent, name, info, fork, ref);
        EXPECT_EQ(ResError(), status);
        return status;
    }
    std::int16_t createOpen(const std::string& name) {
        FSRef ref;
        EXPECT_EQ(create(name, &ref), noErr);
        return openRef(ref, false, fsRdWrPerm);
    }
    static void add(ResType type, std::int16_t id, const std::string& name,
                    const std::string& data) {
        Handle handle = NewHandle(static_cast<std::int32_t>(data.size()));
        ASSERT_NE(handle, nullptr);
        std::copy(data.begin(), data.end(), *handle);
        Str255 pascal;
        pascal[0] = static_cast<std::uint8_t>(name.size());
        std::copy(name.begin(), name.end(), pascal + 1);
        EXPECT_EQ(after(AddResource, handle, type, id, pascal), noErr);
        EXPECT_EQ(after(WriteResource, handle), noErr);
    }
    Lines names() const { return namesIn(folder_.path()); }
};

TEST_F(NewSuitcaseTest, IsWrittenWholeWhenItIsUpdated) {
    const auto number = createOpen("New.bin");
    add(kFond, 128, "Family", "family data");
    add(kSfnt, -1, "", "outline");
    EXPECT_EQ(Count1Resources(kFond), 1);
    EXPECT_EQ(text(Get1Resource(kSfnt, -1)), "outline");
    EXPECT_EQ(Get1Resource(code("NFNT"), 1), nullptr);
    EXPECT_EQ(ResError(), noErr);
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(after(UpdateResFile, number), noErr);
    EXPECT_THAT(names(), ElementsAre("New.bin"));
    add(kFond, 129, "", "another");
    EXPECT_EQ(after(CloseResFile, number), noErr);
    EXPECT_THAT(names(), ElementsAre("New.bin"));

    FSRef ref = refTo(folder_.path() / "New.bin");
    FSCatalogInfo info;
    ASSERT_EQ(FSGetCatalogInfo(&ref, &info), noErr);
    EXPECT_EQ(info.fileType(), code("FFIL"));
    EXPECT_EQ(info.fileCreator(), code("DMOV"));
    ASSERT_GT(open(ref.path), 0);
    EXPECT_EQ(Count1Resources(kFond), 2);
    Str255 name;
    GetResInfo(Get1Resource(kFond, 128), nullptr, nullptr, name);
    EXPECT_EQ(std::string(name + 1, name + 1 + name[0]), "Family");
    EXPECT_EQ(text(Get1Resource(kFond, 129)), "another");

    // The header by the format's own description.
    const Bytes file = readFile(ref.path);
    EXPECT_EQ(file.size() % 128, 0u);
    EXPECT_EQ(get32(file, 102), code("mBIN"));
    const std::uint32_t crc = get32(file, 124) >> 16;
    EXPECT_EQ(crc, xmodem(Bytes(file.begin(), file.begin() + 124)));
}

TEST_F(NewSuitcaseTest, NeverReplacesAnything) {
    folder_.write("Taken", "mine");
    FSRef ref;
    EXPECT_EQ(create("Taken", &ref), dupFNErr);
    fs::create_symlink("nowhere", folder_.path() / "Dangling");
    EXPECT_EQ(create("Dangling", &ref), dupFNErr);

    const auto number = createOpen("Late");
    add(kFond, 1, "", "x");
    folder_.write("Late", "somebody was quicker");
    EXPECT_EQ(after(CloseResFile, number), dupFNErr);
    EXPECT_EQ(readFile(folder_.path() / "Late"), bytesOf("somebody was quicker"));

    const auto second = createOpen("Own");
    EXPECT_EQ(after(UpdateResFile, second), noErr);
    fs::remove(folder_.path() / "Own");
    folder_.write("Spare", "");  // so that the new file cannot get the old one's number
    folder_.write("Own", "not ours any more");
    add(kFond, 1, "", "x");
    EXPECT_EQ(after(UpdateResFile, second), dupFNErr);
    EXPECT_EQ(readFile(folder_.path() / "Own"), bytesOf("not ours any more"));
    DiscardResFile(second);
    EXPECT_THAT(names(), ElementsAre("Dangling", "Late", "Own", "Spare", "Taken"));
}

TEST_F(NewSuitcaseTest, LeavesNothingBehindWhenItIsNotWritten) {
    const auto number = createOpen("Discarded");
    add(kFond, 1, "", "x");
    EXPECT_EQ(after(DiscardResFile, number), noErr);
    EXPECT_THAT(names(), IsEmpty());

    FSRef ref;
    ASSERT_EQ(create("Gone", &ref), noErr);
    const auto second = openRef(ref, false, fsRdWrPerm);
    const fs::path moved = folder_.path().string() + "-moved";
    fs::rename(folder_.path(), moved);
    EXPECT_EQ(after(CloseResFile, second), fnfErr);
    EXPECT_TRUE(fs::is_empty(moved));
    fs::rename(moved, folder_.path());
}

TEST_F(NewSuitcaseTest, IsOpenedForWritingAndOnItsResourceForkOnly) {
    FSRef ref;
    ASSERT_EQ(create("New", &ref), noErr);
    EXPECT_EQ(openRef(ref, false, fsRdPerm), fnfErr);
    EXPECT_EQ(openRef(ref, false, kWriteOnly), wrPermErr);
    EXPECT_EQ(openRef(ref, true, fsRdWrPerm), wrPermErr);
    EXPECT_GT(openRef(ref, false, fsRdWrPerm), 0);
}

TEST_F(NewSuitcaseTest, RefusesNamesAndFoldersThatMakeNoSense) {
    FSRef ref;
    for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string("a\0b", 3)}) {
        EXPECT_EQ(create(name, &ref), paramErr) << name;
    }
    FSRef parent;
    parent.path = folder_.path() / "none";
    HFSUniStr255 fork;
    FSGetResourceForkName(&fork);
    EXPECT_EQ(FSCreateResourceFile(&parent, "x", {}, fork, &ref), fnfErr);
    parent.path = folder_.write("file", "");
    EXPECT_EQ(FSCreateResourceFile(&parent, "x", {}, fork, &ref), fnfErr);
}

TEST_F(NewSuitcaseTest, HandlesBelongToTheCallerUntilTheyAreAdded) {
    EXPECT_EQ(NewHandle(-1), nullptr);
    Handle handle = NewHandle(3);
    EXPECT_EQ(GetHandleSize(handle), 3);
    EXPECT_EQ(after(GetResInfo, handle, nullptr, nullptr, nullptr), resNotFound);
    EXPECT_EQ(after(WriteResource, handle), resNotFound);
    EXPECT_EQ(after(AddResource, handle, kFond, 1, nullptr), resFNotFound);  // no current file
    openDfont("a.dfont", forkOf("x"));
    EXPECT_EQ(after(AddResource, handle, kFond, 1, nullptr), wrPermErr);
    EXPECT_EQ(after(WriteResource, Get1Resource(kFond, 1)), wrPermErr);

    const auto number = createOpen("New");
    EXPECT_EQ(after(AddResource, handle, kFond, 1, nullptr), noErr);
    EXPECT_EQ(after(AddResource, handle, kFond, 2, nullptr), addResFailed);  // a resource already
    DisposeHandle(handle);                                                   // the file's by now
    EXPECT_EQ(GetHandleSize(handle), 3);
    DiscardResFile(number);
    EXPECT_EQ(GetHandleSize(handle), 0);

    handle = NewHandle(0);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(*handle, nullptr);
    DisposeHandle(handle);
    EXPECT_EQ(GetHandleSize(handle), 0);
    DisposeHandle(nullptr);
}

class ConcurrencyResourceManagerTest : public ResourceManagerTest {};

TEST_F(ConcurrencyResourceManagerTest, WholeParsesOfTwoThreadsDoNotMix) {
    const auto parse = [&](const std::string& name, const std::string& data) {
        const fs::path file = folder_.write(name, forkOf(data));
        for (int i = 0; i < 300; ++i) {
            const boost::unique_lock<boost::recursive_mutex> lock(macParsingMutex());
            const std::int16_t saved = CurResFile();
            FSRef ref;
            FSPathMakeRef(file.c_str(), &ref);
            HFSUniStr255 fork;
            FSGetDataForkName(&fork);
            std::int16_t number = 0;
            FSOpenResourceFile(&ref, fork, fsRdPerm, &number);
            EXPECT_EQ(text(Get1IndResource(kFond, 1)), data);
            CloseResFile(number);
            UseResFile(saved);
            EXPECT_EQ(CurResFile(), 0);
        }
    };
    boost::thread first([&] { parse("a.dfont", "first"); });
    boost::thread second([&] { parse("b.dfont", "second"); });
    first.join();
    second.join();
}

}  // namespace
