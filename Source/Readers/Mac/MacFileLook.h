#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <functional>
#include <string>

#include "ByteView.h"
#include "Face.h"
#include "ForkLocator.h"
#include "MacFontReader.h"

/// The data fork of a file, as far as its reader has read it.
struct FileInHand {
    boost::filesystem::path file;
    std::uint64_t size = 0;
    /// The first bytes: all, or at least 128, and 4,096 of a file that is named .hqx.
    ByteView start;
    /// Gives all bytes, read when they are first asked for; nothing when they cannot be read. They
    /// must stay until the faces are made.
    std::function<ByteView()> whole;
};

/// What a file is whose data fork is no font that any other reader knows.
struct MacFile {
    enum class Kind {
        eNothing,  // no Mac font file
        eSidecar,  // what a system keeps beside another file that is there: no font of its own
        eFonts,    // a resource file with fonts
        eBroken,   // its fork cannot be looked into, is damaged or lost
    };
    Kind kind = Kind::eNothing;

    ByteView resources;         // eFonts
    ResourceFileOrigin origin;  // eFonts
    int finding = 0;            // eBroken: a code of the table of findings
    std::string detail;         // eBroken

    /// What could not be seen into on the way, so that something may have been missed; for people.
    std::string trouble;

    ForkBytes fork;  // what `resources` looks at, when that is not in the data fork
};

/// Looks at a file that no other reader knows by its data fork. For an ordinary document that is
/// the search for its fork and nothing else.
///
/// In this order: a sidecar of another file; a resource fork with fonts, wherever systems keep
/// forks; fonts in a data fork that is a resource file; a fork that is damaged or out of reach,
/// whatever it may have held; an empty file whose name or Finder type is a font's and whose fork is
/// nowhere. A fork without fonts is nothing; a place that could not be seen into makes what would
/// be nothing eBroken.
MacFile lookAtMacFile(ForkLocator& forks, const FileInHand& file);

/// The faces of eFonts, or one with the finding of eBroken; none of other kinds.
void readMacFile(const MacFile& macFile, ForkLocator& forks, FaceContext& context,
                 FontFaces& faces);
