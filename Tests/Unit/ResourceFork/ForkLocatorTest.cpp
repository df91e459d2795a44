#include "ForkLocator.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "AppleDouble.h"
#include "LogRecorder.h"
#include "MacBinary.h"
#include "MacErrors.h"
#include "ResourceForkBuilder.h"
#include "UnitTest.h"

namespace {

// Attributes as a test wants them, on any file system and under any name.
using ExtendedAttributes = std::map<std::string, Bytes>;

ForkLocator::Environment environmentWith(const ExtendedAttributes& attributes) {
    ForkLocator::Environment environment = ForkLocator::Environment::native();
    environment.listAttributes = [attributes](const fs::path&, boost::system::error_code&) {
        Lines names;
        for (const auto& [name, value] : attributes) {
            names.push_back(name);
        }
        return names;
    };
    environment.readAttribute = [attributes](const fs::path&, const std::string& name,
                                             std::uint64_t,
                                             boost::system::error_code&) -> std::optional<Bytes> {
        return attributes.at(name);
    };
    return environment;
}

// A fork that tells from which place it came.
Bytes forkNamed(const std::string& text) {
    return ResourceForkBuilder().add("FOND", 128, bytesOf(text), text);
}

// A sidecar that does so, with the same text in capital letters, four of them, as its type.
Bytes sidecar(const std::string& text, const char* type = "FFIL") {
    return appleDouble(type, "DMOV", forkNamed(text));
}

Bytes finderInfo(const char* type) {
    return finderInfoBytes(type, "DMOV");
}

class ForkLocatorTest : public testing::Test {
  protected:
    // The file that all look for; not empty, so that nothing else is mistaken for it.
    fs::path font() const { return folder_.path() / "Font"; }
    void SetUp() override { folder_.write("Font", "no fork in here"); }
    fs::path write(const std::string& name, const Bytes& bytes) {
        return folder_.write(name, bytes);
    }

    // The data of the fork's one resource and its place.
    static std::string fork(ForkLocator& locator, const fs::path& file) {
        const ForkAnswer answer = locator.resourceFork(file);
        if (answer.status != noErr) {
            return "status " + std::to_string(answer.status);
        }
        const auto length = get32(*answer.bytes, 8) == 0 ? 0 : get32(*answer.bytes, 256);
        EXPECT_EQ(answer.bytes->size(), answer.source.length);
        return std::string(answer.bytes->begin() + 260, answer.bytes->begin() + 260 + length) +
               " from " + forkPlaceName(answer.source.place);
    }
    // That, and "TYPE from place"; "data TYPE from place" when both are from one.
    static std::string found(ForkLocator& locator, const fs::path& file) {
        const FinderAnswer answer = locator.finderInfo(file);
        const std::string fork = ForkLocatorTest::fork(locator, file);
        if (answer.place == ForkPlace::eNone) {
            return fork + ", status " + std::to_string(answer.status);
        }
        const std::string from = std::string(" from ") + forkPlaceName(answer.place);
        const std::string type(answer.info.view().slice(0, 4).text());
        return fork.ends_with(from) ? fork.substr(0, fork.size() - from.size()) + " " + type + from
                                    : fork + ", " + type + from;
    }
    std::string found() { return found(locator_, font()); }
    // By a locator that has not seen the folder before.
    std::string foundAnew(const fs::path& file) {
        ForkLocator fresh;
        return found(fresh, file);
    }
    // With these bytes in the file that is looked for, or under that name beside it.
    std::string foundWith(const Bytes& bytes, const std::string& name = "Font") {
        write(name, bytes);
        return foundAnew(font());
    }

    TemporaryFolder folder_;
    ForkLocator locator_;
};

constexpr char kNothing[] = "status -39, status 0";

TEST_F(ForkLocatorTest, AFileWithoutForkHasNone) {
    EXPECT_EQ(found(), kNothing);
    EXPECT_FALSE(locator_.hasForkOutsideFile(font()));
}

TEST_F(ForkLocatorTest, FoldersMissingFilesAndSpecialFilesAreNoFiles) {
    const fs::path fifo = folder_.path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    write("._fifo", sidecar("x"));
    for (const fs::path& path : {folder_.path(), folder_.path() / "none", font() / "below", fifo}) {
        EXPECT_EQ(found(locator_, path), "status -43, status -43") << path;
    }
}

Bytes etherShare(const Bytes& fork, std::uint32_t mark = 0x03681093,
                 std::uint32_t version = 0x0102) {
    BigEndian header = BigEndian().u32(mark).u32(0).u16(version).padTo(32);
    return header.append(finderInfo("ETHR")).padTo(512).append(fork);
}

Bytes uShare(const Bytes& fork) {
    return BigEndian().append(finderInfo("USHR")).padTo(512).append(fork);
}

TEST_F(ForkLocatorTest, EveryPlaceBesideTheFile) {
    const Bytes capInfo = BigEndian().append(finderInfo("FFIL")).u16(0).u32(0xFF00DA00).padTo(300);
    BigEndian ancillary;
    for (const char* name : {"Fontless", "Font"}) {
        ancillary.padUnit(300).zeros(8).text("XNETDMOV").zeros(238).text(name);
    }
    Bytes netatalk = appleFile(0, {{2, forkNamed("netatalk")}, {9, finderInfo("FFIL")}}, 0);
    patch(netatalk, 34, 4, 100000);  // a stale length
    Bytes inconsistent = netatalk;
    patch(inconsistent, 30, 4, 100000);
    Bytes atTheEnd = appleFile(0, {{2, forkNamed("a")}, {3, Bytes(1)}}, 0);
    atTheEnd.pop_back();
    // Plausible at once and behind a header: begins at once.
    Bytes both = BigEndian().append(forkNamed("first")).padTo(512).append(forkNamed("second"));
    const struct {
        const char* file;
        const char* beside;
        Bytes bytes;
        const char* found;
        const char* alsoBeside = "";
        Bytes moreBytes = {};
    } kPlaces[] = {
        {"Font", "%Font", sidecar("a", "PERC"), "a PERC from AppleDouble sidecar of A/UX"},
        {"Font", "%Font", sidecar("x"), "a DOT_ from AppleDouble sidecar", "._Font",
         sidecar("a", "DOT_")},
        {"Font", ".AppleDouble/Font", netatalk, "netatalk FFIL from .AppleDouble folder"},
        // Without magic only a consistent table of a known version is believed.
        {"Font", ".AppleDouble/Font", inconsistent, kNothing},
        {"Font", ".AppleDouble/Font", atTheEnd, kNothing},
        {"Font", ".AppleDouble/Font", appleFile(0, {{2, forkNamed("a")}}, 3), kNothing},
        {"Font", ".AppleDouble/FONT", sidecar("other case"), kNothing},
        {"font.sui", "resource.frk/FONT.SUI", sidecar("a"), "a FFIL from DAVE"},
        {"Font", ".resource/Font", forkNamed("a"), "a FFIL from CAP", ".finderinfo/Font", capInfo},
        // without its two marks
        {"Font", ".resource/Font", forkNamed("a"), "a from CAP, status 0", ".finderinfo/Font",
         finderInfo("FFIL")},
        {"Font", ".rsrc/Font", etherShare(forkNamed("a")), "a ETHR from EtherShare"},
        {"Font", ".rsrc/Font", uShare(forkNamed("a")), "a USHR from EtherShare"},
        {"Font", ".rsrc/Font", forkNamed("a"), "a BSLK from Basilisk II", ".finf/Font",
         finderInfo("BSLK")},
        {"Font", ".rsrc/Font", both, "first from Basilisk II, status 0"},
        {"Font", ".rsrc/Font", uShare(bytesOf("no fork, but long enough")),
         "status -199, status 0"},
        {"Font", ".HSResource/Font", forkNamed("a"), "a XNET from XINET", ".HSancillary",
         ancillary.padUnit(300)},
        {"Font", "R.Font", sidecar("a"), "a FFIL from AppleDouble sidecar of ProDOS"},
        {"Font.x", "Font.ADF", sidecar("a"), "a FFIL from AppleDouble sidecar of ProDOS"},
        {"Font", "R.Font", sidecar("x"),
         "raw from file named .rsrc, FFIL from AppleDouble sidecar of ProDOS", "Font.rsrc",
         forkNamed("raw")},
        // A header alone is an AppleDouble file as well, no raw fork.
        {"Font", "Font.rsrc", appleFile(0x00051607, {{9, {}}}), kNothing},
        {"Font.ADF", "Font.ADF", sidecar("own"), "own FFIL from AppleDouble file"},
        {"a/b/Font", "__MACOSX/a/b/._Font", sidecar("zip"), "zip FFIL from __MACOSX folder"},
        {"a/b/Font", "__MACOSX/a/b/._Font", sidecar("zip"), "nearer NEAR from __MACOSX folder",
         "a/__MACOSX/b/._Font", sidecar("nearer", "NEAR")},
        {"Font", "__MACOSX/._Font", sidecar("flat"), "flat FFIL from __MACOSX folder"}};
    int number = 0;
    for (const auto& place : kPlaces) {
        const std::string folder = std::to_string(++number) + "/";
        const fs::path file = write(folder + place.file, bytesOf("data"));
        write(folder + place.beside, place.bytes);
        if (*place.alsoBeside != '\0') {
            write(folder + place.alsoBeside, place.moreBytes);
        }
        EXPECT_EQ(foundAnew(file), place.found) << number;
    }
}

TEST_F(ForkLocatorTest, ServersHeadersAreToldByAllTheirFields) {
    for (const auto& [mark, version] : {std::pair(0x03681093u, 0x0103u), {0x03681094u, 0x0102u}}) {
        EXPECT_EQ(foundWith(etherShare(bytesOf("no fork"), mark, version), ".rsrc/Font"),
                  "status -199, status 0");
    }
    // Of a server's header flags come along, of Basilisk's file all 32 bytes.
    Bytes info = finderInfo("FFIL");
    info[9] = 2;
    info[31] = 3;
    const auto infoWith = [&](const std::string& name, const Bytes& bytes) {
        write(name, bytes);
        return ForkLocator().finderInfo(font()).info;
    };
    const FinderInfo uShareInfo =
        infoWith(".rsrc/Font", BigEndian().append(info).padTo(512).append(forkNamed("ushare")));
    EXPECT_EQ(uShareInfo.flags(), 2);
    EXPECT_EQ(uShareInfo.view().u8(31), 0);
    write(".rsrc/Font", forkNamed("basilisk"));
    EXPECT_EQ(infoWith(".finf/Font", info), FinderInfo::from(ByteView(info)));
}

TEST_F(ForkLocatorTest, EntriesOfASidecarComeInAnyOrderAndShape) {
    const Bytes info = finderInfo("FFIL");
    const Bytes longInfo = BigEndian().append(info).u16(0).text("ATTR and so on");
    for (const AppleEntries& entries :
         {AppleEntries{{2, forkNamed("f")}, {9, info}},
          AppleEntries{{9, longInfo}, {2, forkNamed("f")}},
          AppleEntries{{1, {}}, {0x80444556, Bytes(9)}, {9, info}, {2, forkNamed("f")}, {3, {}}},
          AppleEntries{{9, info}, {2, forkNamed("f")}, {2, forkNamed("second")}}}) {
        for (const std::uint32_t version : {0x10000u, 0x20000u}) {
            EXPECT_EQ(foundWith(appleFile(0x00051607, entries, version), "._Font"),
                      "f FFIL from AppleDouble sidecar");
        }
    }
}

TEST_F(ForkLocatorTest, DamagedSidecarsAreRefused) {
    const Bytes good = sidecar("fork");
    const std::string info = ", FFIL from AppleDouble sidecar";
    const struct {
        std::size_t at;
        std::uint32_t value;
        std::string found;
    } kCases[] = {{0, 0x00051608, kNothing},
                  {0, 0x00051600, kNothing},  // AppleSingle is no sidecar
                  {0, 0x00000000, kNothing},  // only under .AppleDouble
                  {4, 0x00030000, kNothing},
                  {22, 0x00000000, kNothing},     // no entries
                  {22, 0x0000FFFF, kNothing},     // a table past the end
                  {42, 20, "status -39" + info},  // a fork over the header
                  {42, static_cast<std::uint32_t>(good.size()), "status -39" + info},  // at the end
                  {42, 0xFFFFFFFF, "status -39" + info},                   // past the end
                  {46, 0, "status -39" + info},                            // an empty fork
                  {46, 0xFFFFFFFF, "fork FFIL from AppleDouble sidecar"},  // a stale length
                  {82 + 4, 0x7FFFFFFF, "status -199" + info},  // a damaged resource header
                  {30, 4000, "fork from AppleDouble sidecar, status 0"}};  // no Finder information
    for (const auto& c : kCases) {
        Bytes bad = good;
        patch(bad, c.at, 4, c.value);
        EXPECT_EQ(foundWith(bad, "._Font"), c.found) << c.at;
    }
}

TEST_F(ForkLocatorTest, AForkThatEndsWithItsFileIsLogged) {
    const LogRecorder log;
    Bytes stale = sidecar("fork");
    EXPECT_EQ(foundWith(stale, "._Font"), "fork FFIL from AppleDouble sidecar");
    EXPECT_THAT(log.linesWith("ends with its file"), IsEmpty());
    patch(stale, 46, 4, 0xFFFFFFFF);
    EXPECT_EQ(foundWith(stale, "._Font"), "fork FFIL from AppleDouble sidecar");
    EXPECT_THAT(log.linesWith("ends with its file:  " + (folder_.path() / "._Font").string()),
                SizeIs(1));
}

TEST_F(ForkLocatorTest, PlaceholdersAndDamageYieldToARealForkOfALaterPlace) {
    const std::string sidecarsInfo = ", FFIL from AppleDouble sidecar";
    write("._Font", appleDouble("FFIL", "DMOV", placeholderFork()));
    EXPECT_EQ(locator_.resourceFork(font()).bytes->size(), 286u);
    write(".AppleDouble/Font", sidecar("real", "LATE"));
    EXPECT_EQ(found(), "real from .AppleDouble folder" + sidecarsInfo);
    write("._Font", appleDouble("FFIL", "DMOV", bytesOf("this is no fork at all")));
    EXPECT_EQ(found(), "real from .AppleDouble folder" + sidecarsInfo);
    write(".AppleDouble/Font", placeholderFork());
    EXPECT_EQ(found(), "status -199" + sidecarsInfo);
}

TEST_F(ForkLocatorTest, SidecarsAreNeverReachedThroughLinksAndNeverBlock) {
    const TemporaryFolder elsewhere;
    fs::create_symlink(elsewhere.write("secret", sidecar("x")), folder_.path() / "._Font");
    elsewhere.write("Font", sidecar("x"));
    fs::create_symlink(elsewhere.path(), folder_.path() / ".AppleDouble");
    ASSERT_EQ(::mkfifo((folder_.path() / "%Font").c_str(), 0600), 0);
    EXPECT_EQ(found(), kNothing);
    elsewhere.write("._Font", sidecar("x"));
    const fs::path linked = write("linked/a/Font", bytesOf("data"));
    fs::create_directories(folder_.path() / "linked/__MACOSX");
    fs::create_symlink(elsewhere.path(), folder_.path() / "linked/__MACOSX/a");
    EXPECT_EQ(found(locator_, linked), kNothing);
}

TEST_F(ForkLocatorTest, SidecarsLieBesideALinkOrBesideItsTarget) {
    const fs::path target = write("real/Target", bytesOf("data"));
    write("real/._Target", sidecar("target"));
    fs::create_symlink(target, folder_.path() / "Link");
    write("._Link", sidecar("link", "LINK"));
    EXPECT_EQ(fork(locator_, folder_.path() / "Link"), "target from AppleDouble sidecar");
    fs::remove(folder_.path() / "real/._Target");
    EXPECT_EQ(foundAnew(folder_.path() / "Link"), "link LINK from AppleDouble sidecar");
}

TEST_F(ForkLocatorTest, NamesMayDifferInNormalisation) {
    const std::string composed = "Caf\xC3\xA9 \xED\x95\x9C",
                      taken = "Cafe\xCC\x81 \xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB";
    const fs::path file = write(composed, bytesOf("data"));
    EXPECT_TRUE(locator_.isSidecar(write("._" + taken, sidecar("same"))));
    EXPECT_EQ(fork(locator_, file), "same from AppleDouble sidecar");
    write("._" + composed, sidecar("exact"));
    EXPECT_EQ(fork(locator_, file), "exact from AppleDouble sidecar");
}

TEST_F(ForkLocatorTest, PcExchange) {
    const fs::path shortNamed = write("FONT.SUI", bytesOf("data"));
    const fs::path longNamed = write("long name.txt", bytesOf("data"));
    write("RESOURCE.FRK/FONT.SUI", forkNamed("pc"));
    write("RESOURCE.FRK/LONGNA~1.TXT", forkNamed("by Mac name"));
    write("LONGNA~1.TXT", {});
    write("OTHER.TXT", {});
    std::vector<FinderDatRecord> records(7, {"Other", "OTHER   TXT", "TEXT", "ttxt"});
    records.push_back({"Font", "FONT    SUI", "FFIL", "DMOV"});
    records.push_back({"Long Name.txt", "LONGNA~1TXT", "LWFN", "ASPF"});
    for (const std::size_t cluster : {512u, 2048u, 100000u}) {
        write("FINDER.DAT", finderDat(records, cluster));
        EXPECT_EQ(foundAnew(shortNamed), "pc FFIL from PC Exchange") << cluster;
        EXPECT_EQ(foundAnew(longNamed), "by Mac name LWFN from PC Exchange");
    }
    write("RESOURCE.FRK/Long Name.txt", forkNamed("by its own"));
    EXPECT_EQ(foundAnew(longNamed), "by its own LWFN from PC Exchange");
}

TEST_F(ForkLocatorTest, AttributesAreReadUnderEachSystemsNames) {
    Bytes sambaFork = forkNamed("fork");
    sambaFork.push_back(0);
    Bytes sambaInfo = afpInfo("SMBA", "DMOV");
    sambaInfo.push_back(0);
    const Bytes metadata = appleFile(0x00051607, {{4, Bytes(200)}, {9, finderInfo("NTLK")}});
    const struct {
        ExtendedAttributes attributes;
        std::string found;
    } kCases[] = {
        {{{"com.apple.ResourceFork", forkNamed("fork")},
          {"com.apple.FinderInfo", finderInfo("NATV")}},
         "fork NATV from attribute of macOS"},
        {{{"user.com.apple.ResourceFork", forkNamed("fork")},
          {"user.com.apple.FinderInfo", finderInfo("COPY")}},
         "fork COPY from copied attribute of macOS"},
        {{{"com.apple.FinderInfo", bytesOf("FFILDMOV")}},
         "status -39, FFIL from attribute of macOS"},
        {{{"com.apple.FinderInfo", bytesOf("FFILDMO")}}, kNothing},
        {{{"user.org.netatalk.Metadata", metadata}}, "status -39, NTLK from attribute of Netatalk"},
        {{{"org.netatalk.Metadata", metadata}, {"org.netatalk.ResourceFork", forkNamed("fork")}},
         "fork NTLK from attribute of Netatalk"},
        {{{"user.DosStream.AFP_Resource:$DATA", sambaFork},
          {"user.DosStream.AFP_AfpInfo:$DATA", sambaInfo}},
         "fork SMBA from stream of Samba"},
        {{{"user.DosStream.AFP_Resource:$DATA", forkNamed("whole")}},
         "whole from stream of Samba, status 0"},
        {{{"user.AFP_Resource", forkNamed("fork")}, {"user.AFP_AfpInfo", afpInfo("NTFS", "DMOV")}},
         "fork NTFS from stream of NTFS"},
        {{{"user.AFP_AfpInfo", finderInfo("BAD!")}}, kNothing},
        {{{"hfs.type", bytesOf("HFS1")}, {"hfs.creator", bytesOf("DMOV")}},
         "status -39, HFS1 from HFS volume"},
        {{{"hfs.type", bytesOf("HFS1")}, {"hfs.creator", bytesOf("DMO")}}, kNothing},
        {{{"osx.com.apple.FinderInfo", finderInfo("HFS2")}},
         "status -39, HFS2 from HFS Plus volume"},
        {{{"com.apple.FinderInfo", Bytes(32)}, {"osx.com.apple.FinderInfo", finderInfo("HFS2")}},
         "status -39, HFS2 from HFS Plus volume"}};
    for (const auto& c : kCases) {
        ForkLocator locator(environmentWith(c.attributes));
        EXPECT_EQ(found(locator, font()), c.found);
    }
    ForkLocator samba(environmentWith({{"user.DosStream.AFP_Resource:$DATA", sambaFork}}));
    EXPECT_EQ(*samba.externalForks(font()).resourceFork, forkNamed("fork"));

    // A server's attribute is newer than what its sidecar says.
    write("._Font", sidecar("sidecar", "STAL"));
    ForkLocator netatalk(environmentWith({{"user.org.netatalk.Metadata", metadata},
                                          {"user.org.netatalk.ResourceFork", forkNamed("later")}}));
    EXPECT_EQ(found(netatalk, font()),
              "sidecar from AppleDouble sidecar, NTLK from attribute of Netatalk");
}

TEST_F(ForkLocatorTest, AnHfsPlusAttributeNeedNotBeListed) {
    auto environment = environmentWith({{"osx.com.apple.FinderInfo", finderInfo("FFIL")}});
    environment.listAttributes = [](const fs::path&, boost::system::error_code&) {
        return Lines{"osx.com.apple.FinderInf"};
    };
    ForkLocator elsewhere(environment);
    EXPECT_EQ(found(elsewhere, font()), kNothing);
    environment.hidesAttributes = [](const fs::path&) { return true; };
    ForkLocator locator(environment);
    EXPECT_EQ(found(locator, font()), "status -39, FFIL from HFS Plus volume");
}

TEST_F(ForkLocatorTest, ForksThatAMountDoesNotGiveAreLogged) {
    for (const ExtendedAttributes& attributes :
         {ExtendedAttributes{{"hfs.type", bytesOf("FFIL")}, {"hfs.creator", bytesOf("DMOV")}},
          ExtendedAttributes{{"osx.com.apple.FinderInfo", finderInfo("FFIL")}}}) {
        write("Font", bytesOf("no fork in here"));
        const LogRecorder log;
        ForkLocator locator(environmentWith(attributes));
        EXPECT_EQ(fork(locator, font()), "status -39");
        EXPECT_EQ(log.linesWith("out of reach on its volume:  " + font().string()).size(), 1u);
        write("Font", macBinary(forkNamed("binary")));
        EXPECT_EQ(fork(locator, font()), "binary from MacBinary file");
        EXPECT_EQ(log.linesWith("out of reach").size(), 1u);
    }
    const LogRecorder log;
    EXPECT_EQ(fork(locator_, write("Other", bytesOf("no fork in here"))), "status -39");
    EXPECT_TRUE(log.linesWith("out of reach").empty());
}

TEST_F(ForkLocatorTest, ReadsTheFileSystemsAttributes) {
    const Bytes info = finderInfo("FFIL");
    const Bytes bytes = forkNamed("small");
    if (::setxattr(font().c_str(), "user.com.apple.FinderInfo", info.data(), info.size(), 0) != 0 ||
        ::setxattr(font().c_str(), "user.com.apple.ResourceFork", bytes.data(), bytes.size(), 0) !=
            0) {
        GTEST_SKIP() << "no extended attributes in " << folder_.path();
    }
    EXPECT_EQ(found(), "small FFIL from copied attribute of macOS");
    EXPECT_EQ(*locator_.externalForks(font()).resourceFork, bytes);
}

TEST_F(ForkLocatorTest, NativeForksAreReadThroughTheirPath) {
    ForkLocator::Environment environment = ForkLocator::Environment::native();
    environment.namedForkSuffix = ".named";
    environment.hfsForkSuffix = ".hfs";
    ForkLocator locator(environment);
    write("Font.hfs", forkNamed("hfs"));
    EXPECT_EQ(fork(locator, font()), "hfs from HFS volume");
    write("Font.named", forkNamed("native"));
    EXPECT_EQ(fork(locator, font()), "native from named fork");
}

TEST_F(ForkLocatorTest, TheFileItselfMayBeAContainer) {
    EXPECT_EQ(
        foundWith(appleFile(0x00051600, {{2, forkNamed("one")}, {9, finderInfo("SNGL")}, {1, {}}})),
        "one SNGL from AppleSingle file");
    EXPECT_FALSE(locator_.hasForkOutsideFile(font()));
    EXPECT_EQ(foundWith(sidecar("double", "DBLE")), "double DBLE from AppleDouble file");
    EXPECT_EQ(foundWith(macBinary(forkNamed("binary"))), "binary FFIL from MacBinary file");
    EXPECT_EQ(foundWith(binHex(forkNamed("hex"))), "hex FFIL from BinHex file");
    // What lies beside the file goes first.
    EXPECT_EQ(foundWith(appleDouble("SIDE", "DMOV", {}), "._Font"),
              "hex from BinHex file, SIDE from AppleDouble sidecar");
    EXPECT_TRUE(locator_.hasForkOutsideFile(font()));
}

TEST_F(ForkLocatorTest, MacBinaryVersionsAndTheirDamage) {
    const std::string good = "f FFIL from MacBinary file";
    MacBinaryOptions options;
    options.dataFork = Bytes(129, 'd');
    options.secondaryLength = 5;
    EXPECT_EQ(foundWith(macBinary(forkNamed("f"), options)), good);
    options.rightChecksum = false;  // the signature is enough
    EXPECT_EQ(foundWith(macBinary(forkNamed("f"), options)), good);
    options.version = 2;  // writers that get it wrong exist; the rest has to be right
    EXPECT_EQ(foundWith(macBinary(forkNamed("f"), options)), good);
    EXPECT_EQ(foundWith(macBinary(bytesOf("this is no fork"), options)), kNothing);
    options.rightChecksum = true;
    EXPECT_EQ(foundWith(macBinary(bytesOf("this is no fork"), options)),
              "status -199, FFIL from MacBinary file");

    options = {};
    options.version = 1;
    const Bytes first = macBinary(forkNamed("f"), options);
    EXPECT_EQ(foundWith(first), good);
    Bytes unpadded = first;
    unpadded.resize(128 + forkNamed("f").size());
    EXPECT_EQ(foundWith(unpadded), good);
    const std::pair<std::size_t, int> kDamage[] = {{0, 1},     {1, 0},   {1, 64}, {4, 0},
                                                   {65, 0},    {72, 0},  {74, 1}, {82, 1},
                                                   {87, 0x80}, {101, 1}, {110, 1}};
    for (const auto& [at, value] : kDamage) {
        Bytes bad = first;
        bad[at] = static_cast<std::uint8_t>(value);
        EXPECT_EQ(foundWith(bad), kNothing) << at;
    }
    EXPECT_EQ(foundWith(Bytes(1000)), kNothing);  // zeros have a right checksum
    Bytes trueType(1000);
    trueType[1] = 1;
    patch(trueType, 102, 4, code("mBIN"));
    EXPECT_EQ(foundWith(trueType), kNothing);
    EXPECT_EQ(foundWith(Bytes(first.begin(), first.begin() + 127)), kNothing);
}

TEST(MacBinary, AnUnsignedHeaderHasToFitItsFile) {
    MacBinaryOptions options;
    options.version = 1;
    Bytes header = macBinary({}, options);
    header.resize(128);
    header[73] = 1;
    const auto isRead = [&](std::uint32_t data, std::uint32_t fork, std::uint64_t fileSize) {
        patch(header, 83, 4, data);
        patch(header, 87, 4, fork);
        return macbinary::readHeader(ByteView(header), fileSize).has_value();
    };
    constexpr std::uint32_t kMost = 0x7FFFFF;
    constexpr std::uint64_t kLarge = std::uint64_t{1} << 30;
    EXPECT_FALSE(isRead(0, 0, kLarge)) << "something there must be";
    EXPECT_TRUE(isRead(kMost, kMost, kLarge));
    EXPECT_FALSE(isRead(kMost + 1, 1, kLarge));
    EXPECT_FALSE(isRead(1, kMost + 1, kLarge));
    EXPECT_TRUE(isRead(129, 0, 128 + 129)) << "a last block that is not padded";
    EXPECT_FALSE(isRead(129, 0, 128 + 128));
    EXPECT_TRUE(isRead(129, 7, 128 + 256 + 7));
    EXPECT_FALSE(isRead(129, 7, 128 + 256 + 6));
    header[1] = 63;
    std::fill_n(header.begin() + 2, 63, std::uint8_t{'n'});
    ASSERT_TRUE(isRead(1, 0, kLarge)) << "the longest name";
    EXPECT_EQ(macbinary::readHeader(ByteView(header), kLarge)->finderInfo.flags(), 0x0100);
    // The low byte of the flags is that of later versions.
    options.version = 3;
    header = macBinary({}, options);
    header[101] = 2;
    EXPECT_EQ(macbinary::readHeader(ByteView(header), kLarge)->finderInfo.flags(), 0x0002);
}

TEST_F(ForkLocatorTest, TheBinHexLineIsLookedForOnlyNearTheStart) {
    const auto foundBehind = [this](const std::string& text, const std::string& name) {
        BinHexOptions options;
        options.before = text;
        return foundAnew(write(name, binHex(forkNamed("hex"), options)));
    };
    constexpr char kHex[] = "hex FFIL from BinHex file";
    // The line begins at 88 and fits 128 just so.
    EXPECT_EQ(foundBehind(std::string(87, '-') + "\n", "Font"), kHex);
    EXPECT_EQ(foundBehind(std::string(88, '-') + "\n", "Font"), kNothing);
    EXPECT_EQ(foundBehind(std::string(4000, '-') + "\r", "Font.HQX"), kHex);
    EXPECT_EQ(foundBehind(std::string(5000, '-') + "\n", "Font.HQX"), kNothing);
    EXPECT_EQ(foundBehind("> ", "Font.HQX"), kNothing);
}

TEST_F(ForkLocatorTest, BinHexIsUnpackedAsFarAsItIsWhole) {
    const Bytes runs = BigEndian().append(Bytes(2000, 0x90)).text("\x90 abc");
    const Bytes bytes = ResourceForkBuilder().add("POST", 501, runs);
    BinHexOptions options;
    options.dataFork = BigEndian().append(Bytes(100000, 0x90)).append(Bytes(500, 'a'));
    write("Font", binHex(bytes, options));
    EXPECT_EQ(*locator_.resourceFork(font()).bytes, bytes);
    options.lastColon = false;
    Bytes text = binHex(bytes, options);
    write("Font", text);
    EXPECT_EQ(*locator_.resourceFork(font()).bytes, bytes);
    constexpr char kDamaged[] = "status -199, FFIL from BinHex file";
    text.resize(text.size() - 20);
    EXPECT_EQ(foundWith(text), kDamaged);
    options.rightForkChecksum = false;
    EXPECT_EQ(foundWith(binHex(bytes, options)), kDamaged);
    text = binHex(bytes);
    text[60] = '7';  // none of the alphabet
    EXPECT_EQ(foundWith(text), kNothing);

    // A header that claims much costs little.
    BigEndian header;
    header.text(std::string_view("\x01n\0FFILDMOV\0\0", 13)).u32(0x7FFFFFFF).u32(0x7FFFFFFF);
    header.u16(xmodem(header)).zeros(300000);
    EXPECT_EQ(
        foundWith(bytesOf("(This file must be converted with BinHex 4.0)\n:" + binHexText(header))),
        kDamaged);
}

TEST_F(ForkLocatorTest, AListingIsRenewedWhenTheFolderChanges) {
    EXPECT_EQ(found(), kNothing);
    ::usleep(150000);  // from here on, the listing is kept
    EXPECT_EQ(found(), kNothing);
    write("._Font", sidecar("new"));
    EXPECT_EQ(fork(locator_, font()), "new from AppleDouble sidecar");
    fs::remove(folder_.path() / "._Font");
    EXPECT_EQ(found(), kNothing);
}

TEST_F(ForkLocatorTest, ForksOverTheLimitAreNotRead) {
    ForkLocator::Environment environment = ForkLocator::Environment::native();
    environment.forkLimit = forkNamed("large").size();
    write("._Font", sidecar("large"));
    ForkLocator exact(environment);
    EXPECT_EQ(fork(exact, font()), "large from AppleDouble sidecar");
    --environment.forkLimit;
    ForkLocator less(environment);
    EXPECT_EQ(fork(less, font()), "status -108");
    EXPECT_EQ(less.externalForks(font()).status, memFullErr);
}

TEST_F(ForkLocatorTest, ExternalForksAreWhatACopyWouldLose) {
    EXPECT_TRUE(locator_.externalForks(font()).empty());
    const Bytes bytes = forkNamed("fork");
    write("._Font", sidecar("fork"));
    const ExternalForks forks = locator_.externalForks(font());
    EXPECT_EQ(forks.status, noErr);
    EXPECT_EQ(*forks.resourceFork, bytes);
    EXPECT_EQ(forks.finderInfo.type(), code("FFIL"));

    // A copy with the same sidecar tells the same.
    const fs::path copy = write("Copy", bytesOf("data"));
    const Bytes made =
        appledouble::makeAppleDouble(forks.finderInfo, ByteView(*forks.resourceFork));
    EXPECT_EQ(made.size(), 82 + bytes.size());
    write("._Copy", made);
    EXPECT_EQ(found(locator_, copy), "fork FFIL from AppleDouble sidecar");

    // Damaged forks are kept as they are, placeholders are nothing.
    write("._Font", appleDouble("FFIL", "DMOV", bytesOf("damaged")));
    EXPECT_EQ(*locator_.externalForks(font()).resourceFork, bytesOf("damaged"));
    EXPECT_EQ(locator_.externalForks(font()).status, noErr);
    write("._Font", appleFile(0x00051607, {{9, Bytes(32)}, {2, placeholderFork()}}));
    EXPECT_TRUE(locator_.externalForks(font()).empty());
    EXPECT_FALSE(locator_.hasForkOutsideFile(font()));
    Bytes flags(32);
    flags[9] = 2;  // a label is worth keeping, too
    write("._Font", appleFile(0x00051607, {{9, flags}}));
    EXPECT_TRUE(locator_.hasForkOutsideFile(font()));
}

TEST_F(ForkLocatorTest, SidecarsOfExistingFilesAreRecognised) {
    write("Real", bytesOf("data"));
    const struct {
        const char* name;
        Bytes bytes;
        bool isSidecar;
    } kCases[] = {{"._Font", sidecar("x"), true},
                  {"%Font", sidecar("x"), true},
                  {"._Orphan", sidecar("x"), false},
                  {"Other", sidecar("x"), false},
                  {"._Real", bytesOf("a user's own file"), false},
                  {"%", sidecar("x"), false}};
    for (const auto& c : kCases) {
        EXPECT_EQ(locator_.isSidecar(write(c.name, c.bytes)), c.isSidecar) << c.name;
    }
    // An orphan is read as the container that it is.
    EXPECT_EQ(found(locator_, folder_.path() / "._Orphan"), "x FFIL from AppleDouble file");
    for (const char* name :
         {".AppleDouble", ".resource", ".finderinfo", ".rsrc", ".finf", ".HSResource",
          ".AppleDesktop", "__MACOSX", "resource.frk", "RESOURCE.FRK", "__macosx"}) {
        EXPECT_TRUE(ForkLocator::isSidecarFolder(name)) << name;
    }
    EXPECT_FALSE(ForkLocator::isSidecarFolder("resource"));
    EXPECT_FALSE(ForkLocator::isSidecarFolder(".HSancillary"));
}

}  // namespace
