#include <boost/filesystem/path.hpp>

#include "Check.h"
#include "Face.h"
#include "ForkLocator.h"
#include "FuzzTarget.h"
#include "MacFontReader.h"
#include "MetricsReader.h"
#include "OxFontReader.h"
#include "ReaderChecks.h"
#include "ScratchFolder.h"
#include "SfntReader.h"
#include "Type1Reader.h"
#include "WoffReader.h"

namespace {

using Reader = void (*)(ByteView bytes, FaceContext& context, FontFaces& faces);

// A reader over bytes in memory, with everything asked for that a host can ask for.
void checkFaces(Reader reader, ByteView input) {
    checkReader([&](FontList& faces) {
        WorkLimit work(input.size());
        FaceContext context{
            ScratchFolder::instance().path() / "font", {true, true, true}, {}, {}, work};
        reader(input, context, faces);
        check(!faces.empty(), "a face, whatever the bytes are");
        for (OxFont& face : faces) {
            completeAttributes(face);
        }
    });
}

FUZZ_TARGET(SfntFace) {
    checkFaces(readSfnt, input);
}

FUZZ_TARGET(WoffFace) {
    checkFaces(readWoff, input);
}

FUZZ_TARGET(Woff2Face) {
    checkFaces(readWoff2, input);
}

// Each of the text formats may be taken for another one.
FUZZ_TARGET(Type1Face) {
    for (const Reader reader : {readType1, readType42, readCidProgram, readBareCff}) {
        checkFaces(reader, input);
    }
}

FUZZ_TARGET(MetricsFace) {
    checkFaces(readPfm, input);
    checkFaces(readAfm, input);
}

FUZZ_TARGET(MacFace) {
    for (const bool inDataFork : {false, true}) {
        checkReader([&](FontList& faces) {
            WorkLimit work(input.size());
            FaceContext context{
                ScratchFolder::instance().path() / "font", {true, true, true}, {}, {}, work};
            ForkLocator forks;
            readMacFonts(input, {inDataFork, inDataFork ? "" : "fork"}, forks, context, faces);
            for (OxFont& face : faces) {
                completeAttributes(face);
            }
        });
    }
}

// A file under a name that the first byte chooses: what it is taken for, and that it is read so.
FUZZ_TARGET(Recognition) {
    static constexpr const char* kNames[] = {"font",     "font.ttf",   "FONT.OTF", "font.pfb",
                                             "font.pfm", "font.dfont", "font.t1",  "font.bin"};
    if (input.empty()) {
        return;
    }
    const auto file =
        ScratchFolder::instance().write(kNames[input.u8(0) % std::size(kNames)], input.from(1));
    checkReader([&](FontList& faces) {
        OxFontReader reader({true, true, true});
        const bool taken = reader.inspectFont(file);
        const FontListPtr found(reader.parseFontFile(file));
        check(taken || found->empty(), "no records of what is not taken");
        faces.transfer(faces.end(), *found);
    });
    ScratchFolder::instance().clear();
}

}  // namespace
