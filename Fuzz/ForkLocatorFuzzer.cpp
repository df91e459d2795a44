#include <array>
#include <boost/filesystem/operations.hpp>
#include <string>
#include <vector>

#include "Check.h"
#include "ForkLocator.h"
#include "FuzzTarget.h"
#include "MacErrors.h"
#include "ResourceFile.h"
#include "ScratchFolder.h"

namespace {

// Where the input lies beside the file "font"; the empty name stands for the file itself.
constexpr std::array<const char*, 16> kPlaces = {
    "",
    "font.hqx",
    "._font",
    "%font",
    ".AppleDouble/font",
    "resource.frk/font",
    "FINDER.DAT",
    ".resource/font",
    ".finderinfo/font",
    ".rsrc/font",
    ".finf/font",
    ".HSResource/font",
    ".HSancillary",
    "font.rsrc",
    "R.font",
    "__MACOSX/._font",
};

bool isStatus(std::int16_t status) {
    for (const std::int16_t known :
         {noErr, eofErr, fnfErr, permErr, ioErr, memFullErr, mapReadErr}) {
        if (status == known) {
            return true;
        }
    }
    return false;
}

// The folder keeps a file at each place that was used: places compete, as on real disks. The
// higher bits of the first byte choose a second place for the same bytes.
boost::filesystem::path layOut(ByteView input) {
    static const ScratchFolder& scratch = ScratchFolder::instance();
    scratch.clear();
    for (const char* folder : {".AppleDouble", "resource.frk", ".resource", ".finderinfo", ".rsrc",
                               ".finf", ".HSResource", "__MACOSX"}) {
        boost::filesystem::create_directory(scratch.path() / folder);
    }
    const std::uint8_t places = input.u8(0);
    const ByteView bytes = input.from(1);
    const auto file = scratch.write("font", {});
    boost::filesystem::path asked = file;
    for (const unsigned place : {places & 0xFu, places >> 4 & 0xFu}) {
        const std::string name = kPlaces[place];
        const auto written = scratch.write(name.empty() ? "font" : name, bytes);
        if (name == "font.hqx") {
            asked = written;
        }
    }
    return asked;
}

void run(ByteView input) {
    if (input.empty()) {
        return;
    }
    const auto file = layOut(input);
    ForkLocator locator;
    ForkLocator other;
    const ForkAnswer fork = locator.resourceFork(file);
    const FinderAnswer finder = locator.finderInfo(file);
    check(isStatus(fork.status) && finder.status == noErr, "a status of looking");
    check(fork.status != noErr || fork.bytes, "bytes of what was found");
    // In the order in which another program would ask.
    const FinderAnswer finderAgain = other.finderInfo(file);
    const ForkAnswer forkAgain = other.resourceFork(file);
    check(finder.place == finderAgain.place && finder.info == finderAgain.info,
          "Finder information does not depend on what was asked before");
    check(fork.status == forkAgain.status && fork.source.place == forkAgain.source.place,
          "a fork does not depend on what was asked before");
    if (fork.status == noErr) {
        check(*fork.bytes == *forkAgain.bytes, "equal forks");
        check(fork.bytes->size() == fork.source.length, "the length of the fork");
        const ByteView bytes(fork.bytes->data(), fork.bytes->size());
        check(isPlausibleResourceHeader(bytes, bytes.size()), "a plausible fork");
        ResourceFile resources;
        resources.open(bytes);
    }
    check(!finder.info.empty() == (finder.place != ForkPlace::eNone), "a place for what is known");
    const ExternalForks outside = locator.externalForks(file);
    check(locator.hasForkOutsideFile(file) == (!outside.empty() || outside.status != noErr),
          "a fork outside the file is announced");
    check(!locator.isSidecar(file), "a font is no sidecar");
    locator.isSidecar(file.parent_path() / "._font");
}

const FuzzTarget target("ForkLocator", run);

}  // namespace
