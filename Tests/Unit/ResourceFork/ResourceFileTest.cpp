#include "ResourceFile.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <random>

#include "ResourceFileWriter.h"
#include "ResourceForkBuilder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kFond = 0x464F4E44;
constexpr std::uint32_t kSfnt = 0x73666E74;

std::int16_t openStatus(const Bytes& fork) {
    return ResourceFile().open(ByteView(fork));
}

// Small files that between them use names, attributes, empty data and several types.
ResourceForkBuilder twoTypes() {
    ResourceForkBuilder builder;
    builder.add("FOND", 128, bytesOf("first family"), "Alpha");
    builder.add("FOND", -5, bytesOf("second"), "Beta");
    builder.add("FOND", 40, {});
    builder.add("sfnt", 128, bytesOf("outline"), "", 0x20);
    return builder;
}

std::vector<int> idsOf(ResourceFile& file, std::uint32_t type) {
    std::vector<int> ids;
    for (const ResourceFile::Reference& reference : file.references(type)) {
        ids.push_back(reference.id);
    }
    return ids;
}

std::string dataText(const ResourceFile& file, const ResourceFile::Reference& reference) {
    return std::string(file.data(reference).bytes.text());
}

TEST(ResourceFile, ReadsTypesReferencesNamesAndDataInTheOrderOfTheMap) {
    const Bytes fork = twoTypes().build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    EXPECT_THAT(file.types(), ElementsAre(kFond, kSfnt));
    EXPECT_THAT(idsOf(file, kFond), ElementsAre(128, -5, 40));
    EXPECT_THAT(idsOf(file, code("NFNT")), IsEmpty());

    const ResourceFile::Reference* beta = file.find(kFond, -5);
    ASSERT_NE(beta, nullptr);
    EXPECT_EQ(file.name(*beta), "Beta");
    EXPECT_EQ(dataText(file, *beta), "second");
    const ResourceFile::Reference* outline = file.find(kSfnt, 128);
    ASSERT_NE(outline, nullptr);
    EXPECT_EQ(outline->attributes, 0x20);
    EXPECT_EQ(file.name(*outline), "");
    EXPECT_EQ(file.find(kSfnt, 129), nullptr);
}

TEST(ResourceFile, AnEmptyResourceHasDataOfLengthZero) {
    const Bytes fork = twoTypes().build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    const ResourceFile::Data data = file.data(*file.find(kFond, 40));
    EXPECT_EQ(data.status, noErr);
    EXPECT_NE(data.bytes.data(), nullptr);
    EXPECT_EQ(data.bytes.size(), 0u);
}

TEST(ResourceFile, EmptyForksAndForksWithoutResources) {
    EXPECT_EQ(openStatus({}), eofErr);
    EXPECT_EQ(openStatus(placeholderFork()), noErr);
    const Bytes none = ResourceForkBuilder().build();
    ResourceFile file;
    EXPECT_EQ(file.open(ByteView(none)), noErr);
    EXPECT_THAT(file.types(), IsEmpty());
}

TEST(ResourceFile, RefusesForksWhoseMapIsNotInside) {
    const ResourceForkBuilder builder = twoTypes();
    const Bytes good = builder.build();
    ASSERT_EQ(openStatus(good), noErr);
    const auto patched = [&](std::size_t at, std::uint32_t value) {
        Bytes bad = good;
        patch(bad, at, 4, value);
        return openStatus(bad);
    };
    EXPECT_EQ(openStatus(Bytes(good.begin(), good.begin() + 15)), mapReadErr);
    EXPECT_EQ(openStatus(Bytes(good.begin(), good.end() - 1)), mapReadErr);
    EXPECT_EQ(patched(4, get32(good, 4) + 1), mapReadErr);
    EXPECT_EQ(patched(4, 0xFFFFFFF0), mapReadErr);  // offset + length would wrap
    EXPECT_EQ(patched(12, get32(good, 12) + 1), mapReadErr);
    EXPECT_EQ(patched(12, 29), mapReadErr);
}

TEST(ResourceFile, RefusesTypeListsThatDoNotLieInsideTheMap) {
    const ResourceForkBuilder builder = twoTypes();
    const Bytes good = builder.build();
    const auto patched = [&](std::size_t at, std::uint32_t value) {
        Bytes bad = good;
        patch(bad, at, 2, value);
        return openStatus(bad);
    };
    const std::size_t mapLength = good.size() - builder.mapAt();
    EXPECT_EQ(patched(builder.mapAt() + 24, static_cast<std::uint32_t>(mapLength - 1)), mapReadErr);
    EXPECT_EQ(patched(builder.mapAt() + 24, 0xFFFF), mapReadErr);
    EXPECT_EQ(patched(builder.typeListAt(), 0xFFFE), mapReadErr);
    EXPECT_EQ(patched(builder.typeListAt(), 0xFFFF), noErr);  // no types
}

TEST(ResourceFile, TheCopyOfTheHeaderInTheMapMayBeAnything) {
    const ResourceForkBuilder builder = twoTypes();
    Bytes fork = builder.build();
    patch(fork, builder.mapAt(), 4, 0xDEADBEEF);
    EXPECT_EQ(openStatus(fork), noErr);
}

TEST(ResourceFile, CountsOnlyReferencesInsideTheMap) {
    const ResourceForkBuilder builder = twoTypes();
    Bytes fork = builder.build();
    patch(fork, builder.typeEntryAt(1) + 4, 2, 0xFFFE);
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    // One reference is real; the names behind it have room for none.
    EXPECT_EQ(file.references(kSfnt).size(), (fork.size() - builder.referenceAt(3)) / 12);

    patch(fork, builder.typeEntryAt(1) + 4, 2, 0xFFFF);  // none
    patch(fork, builder.typeEntryAt(0) + 6, 2, 0xFFFF);  // far outside
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    EXPECT_THAT(idsOf(file, kSfnt), IsEmpty());
    EXPECT_TRUE(file.holdsType(kSfnt));
    EXPECT_THAT(idsOf(file, kFond), IsEmpty());
}

TEST(ResourceFile, TheFirstOfDuplicatesCounts) {
    ResourceForkBuilder builder;
    builder.add("FOND", 1, bytesOf("one")).add("FOND", 1, bytesOf("one more"));
    builder.add("sfnt", 2, bytesOf("two")).addTypeAgain("FOND", "sfnt");
    const Bytes fork = builder.build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    EXPECT_THAT(idsOf(file, kFond), ElementsAre(1, 1));
    EXPECT_EQ(dataText(file, *file.find(kFond, 1)), "one");
    EXPECT_EQ(dataText(file, file.references(kFond)[1]), "one more");
    EXPECT_THAT(file.types(), ElementsAre(kFond, kSfnt));
}

TEST(ResourceFile, DataMayLiePastTheDataAreaButNotPastTheFork) {
    const ResourceForkBuilder builder = twoTypes();
    const Bytes good = builder.build();
    const auto statusOfFirst = [&](const Bytes& fork) {
        ResourceFile file;
        EXPECT_EQ(file.open(ByteView(fork)), noErr);
        return file.data(file.references(kFond)[0]).status;
    };
    Bytes fork = good;
    const auto room = static_cast<std::uint32_t>(fork.size() - 256 - 4);
    patch(fork, 256, 4, room);
    EXPECT_EQ(statusOfFirst(fork), noErr);
    patch(fork, 256, 4, room + 1);
    EXPECT_EQ(statusOfFirst(fork), resNotFound);
    patch(fork, 256, 4, 0xFFFFFFFF);
    EXPECT_EQ(statusOfFirst(fork), resNotFound);

    fork = good;
    patch(fork, builder.referenceAt(0) + 6, 2, 0xFFFF);
    EXPECT_EQ(statusOfFirst(fork), resNotFound);
    fork = good;
    patch(fork, 0, 4, 0xFFFFFFFF);  // the data area itself
    EXPECT_EQ(statusOfFirst(fork), resNotFound);
}

TEST(ResourceFile, NamesOutsideTheMapAreEmpty) {
    ResourceForkBuilder builder;
    builder.add("FOND", 1, bytesOf("data"), "Name");
    const Bytes good = builder.build();
    const auto nameAfter = [&](std::size_t at, std::uint32_t value) {
        Bytes fork = good;
        patch(fork, at, 2, value);
        ResourceFile file;
        EXPECT_EQ(file.open(ByteView(fork)), noErr);
        return std::string(file.name(file.references(kFond)[0]));
    };
    EXPECT_EQ(nameAfter(builder.referenceAt(0), 1), "Name");
    EXPECT_EQ(nameAfter(builder.referenceAt(0) + 2, 0xFFFE), "");
    EXPECT_EQ(nameAfter(builder.mapAt() + 26, 0xFFFF), "");
    EXPECT_EQ(nameAfter(good.size() - 5, 0x054E), "");  // one byte longer than there is
}

TEST(ResourceFile, CompressedResourcesAreNotDecompressed) {
    const Bytes compressed = {0xA8, 0x9F, 0x65, 0x72, 1, 2, 3};
    ResourceForkBuilder builder;
    builder.add("FOND", 1, compressed, "", 0x01);
    builder.add("FOND", 2, compressed, "", 0x00);
    builder.add("FOND", 3, bytesOf("plain"), "", 0x01);
    const Bytes fork = builder.build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    EXPECT_EQ(file.data(*file.find(kFond, 1)).status, CantDecompress);
    EXPECT_EQ(file.data(*file.find(kFond, 2)).status, noErr);
    EXPECT_EQ(file.data(*file.find(kFond, 3)).status, noErr);
}

TEST(ResourceFile, ManyReferencesAreFoundQuickly) {
    // All ids of 5,000 references, each looked for; a search through the list each time would take
    // 25 million steps per round.
    ResourceForkBuilder builder;
    for (int i = 0; i < 5000; ++i) {
        builder.add("NFNT", 5000 - i, Bytes(1, static_cast<std::uint8_t>(i)));
    }
    const Bytes fork = builder.build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    for (int round = 0; round < 100; ++round) {
        for (int id = 1; id <= 5000; ++id) {
            const auto* reference = file.find(code("NFNT"), static_cast<std::int16_t>(id));
            ASSERT_NE(reference, nullptr);
            ASSERT_EQ(reference->id, id);
        }
    }
}

TEST(ResourceFileWriter, WritesWhatTheReaderReads) {
    const Bytes first = bytesOf("family"), second = bytesOf("outline");
    ResourceFileWriter writer;
    EXPECT_TRUE(writer.add(kFond, -3, "Name \x8E", 0x20, ByteView(first)));
    EXPECT_TRUE(writer.add(kSfnt, 7, std::string(300, 'x'), 0, ByteView(second)));
    EXPECT_TRUE(writer.add(kFond, 4, "", 0, {}));
    const Bytes fork = writer.build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    EXPECT_THAT(file.types(), ElementsAre(kFond, kSfnt));
    EXPECT_THAT(idsOf(file, kFond), ElementsAre(-3, 4));
    EXPECT_EQ(file.name(*file.find(kFond, -3)), "Name \x8E");
    EXPECT_EQ(file.find(kFond, -3)->attributes, 0x20);
    EXPECT_EQ(file.name(*file.find(kSfnt, 7)), std::string(255, 'x'));
    EXPECT_EQ(dataText(file, *file.find(kSfnt, 7)), "outline");
    EXPECT_EQ(file.data(*file.find(kFond, 4)).bytes.size(), 0u);
    EXPECT_EQ(openStatus(ResourceFileWriter().build()), noErr);
}

TEST(ResourceFileWriter, RefusesWhatTheFormatCannotHold) {
    const Bytes large(10 << 20);
    ResourceFileWriter full;
    EXPECT_TRUE(full.add(kSfnt, 1, "", 0, ByteView(large)));
    EXPECT_TRUE(full.add(kSfnt, 2, "", 0, ByteView(large)));
    EXPECT_FALSE(full.add(kSfnt, 3, "", 0, {}));  // would begin past 16 MiB
    const Bytes fork = full.build();
    ResourceFile file;
    ASSERT_EQ(file.open(ByteView(fork)), noErr);
    EXPECT_EQ(file.data(*file.find(kSfnt, 2)).bytes.size(), large.size());

    ResourceFileWriter many;
    int added = 0;
    while (added < 70000 && many.add(kSfnt, static_cast<std::int16_t>(added), "", 0, {})) {
        ++added;
    }
    EXPECT_EQ(added, (65535 - 30 - 8) / 12);
    EXPECT_EQ(openStatus(many.build()), noErr);
}

// Reads all that a damaged fork holds, without a byte outside of it; false when it does not open.
bool readEverything(const Bytes& fork, std::size_t* bytesSeen) {
    // Of exactly its size, so that a sanitizer sees each byte read too far.
    const std::vector<std::uint8_t> exact(fork.begin(), fork.end());
    ResourceFile file;
    if (file.open(ByteView(exact)) != noErr) {
        return false;
    }
    for (const std::uint32_t type : file.types()) {
        for (const ResourceFile::Reference& reference : file.references(type)) {
            const ResourceFile::Data data = file.data(reference);
            *bytesSeen += file.name(reference).size() + data.bytes.size();
            for (std::size_t b = 0; b < data.bytes.size(); ++b) {
                *bytesSeen += data.bytes.u8(b) & 1u;
            }
            EXPECT_LE(data.bytes.size(), exact.size());
            EXPECT_NE(file.find(type, reference.id), nullptr);
        }
        EXPECT_LE(file.references(type).size(), exact.size() / 12);
    }
    return true;
}

// Damages a fork in the ways that damage comes in, over and over.
TEST(ResourceFile, SurvivesTruncationAndMutations) {
    const char* wanted = std::getenv("OXPARSER_MUTATIONS");
    const long cases = wanted != nullptr ? std::atol(wanted) : 20000;
    const Bytes forks[] = {twoTypes().build(), placeholderFork(),
                           ResourceForkBuilder(twoTypes()).addTypeAgain("NFNT", "FOND").build()};
    std::mt19937 random(20240229);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    std::size_t bytesSeen = 0;
    for (const Bytes& fork : forks) {
        for (std::size_t size = 0; size < fork.size(); ++size) {
            const auto end = fork.begin() + static_cast<std::ptrdiff_t>(size);
            EXPECT_FALSE(readEverything(Bytes(fork.begin(), end), &bytesSeen)) << "no whole map";
        }
    }
    int opened = 0;
    for (long i = 0; i < cases; ++i) {
        Bytes fork = forks[below(std::size(forks))];
        const std::size_t mapAt = get32(fork, 4);
        for (std::size_t n = below(4) + 1; n > 0; --n) {
            const std::size_t at = below(3) == 0 ? below(16) : mapAt + below(fork.size() - mapAt);
            switch (below(4)) {
                case 0:
                    fork[at] ^= static_cast<std::uint8_t>(1u << below(8));
                    break;
                case 1:
                    fork[at] = 0xFF;
                    break;
                case 2:
                    patch(fork, std::min(at, fork.size() - 2), 2,
                          static_cast<std::uint32_t>(below(0x10000)));
                    break;
                default:
                    patch(fork, 4 * below(4), 4,
                          static_cast<std::uint32_t>(below(fork.size() + 8)));
            }
        }
        if (below(8) == 0) {
            fork.resize(below(fork.size()));
        }
        opened += readEverything(fork, &bytesSeen);
    }
    EXPECT_GT(opened, cases / 10);
    EXPECT_GT(bytesSeen, 0u);
}

}  // namespace
