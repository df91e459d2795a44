#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Export.h"
#include "FinderInfo.h"

struct ForkCaches;

/// The places where resource forks and Finder information are kept, in the order of looking.
enum class ForkPlace {
    eNone,
    eNamedFork,           // P/..namedfork/rsrc of macOS
    eAppleAttributes,     // com.apple.ResourceFork, com.apple.FinderInfo
    eCopiedAttributes,    // the same with "user." before it, as copied to Linux
    eNetatalkMetadata,    // attribute org.netatalk.Metadata: Finder information only
    eAppleDoubleSidecar,  // ._NAME
    eNetatalkFork,        // attribute org.netatalk.ResourceFork
    eSambaStreams,        // attributes user.DosStream.AFP_Resource:$DATA and AFP_AfpInfo
    eNtfsStreams,         // attributes user.AFP_Resource and user.AFP_AfpInfo
    eNetatalkFolder,      // .AppleDouble/NAME
    ePercentSidecar,      // %NAME
    ePcExchange,          // RESOURCE.FRK/NAME and FINDER.DAT
    eDave,                // resource.frk/NAME as AppleDouble
    eCap,                 // .resource/NAME and .finderinfo/NAME
    eEtherShare,          // .rsrc/NAME behind a header of 512 bytes (also UShare)
    eBasilisk,            // .rsrc/NAME and .finf/NAME
    eXinet,               // .HSResource/NAME and .HSancillary
    eUnarchiver,          // NAME.rsrc
    eProDos,              // STEM.ADF, R.NAME
    eHfsMount,            // attributes hfs.type and hfs.creator; P/rsrc where a kernel walks to it
    eHfsPlusMount,        // attribute osx.com.apple.FinderInfo; the fork is out of reach
    eAppleSingle,         // the file itself
    eAppleDouble,         // the file itself
    eMacBinary,           // the file itself
    eBinHex,              // the file itself
    eMacOsXFolder         // __MACOSX/…/._NAME of an unpacked zip archive
};

/// What a place is called in the log.
OXPARSER_EXPORT const char* forkPlaceName(ForkPlace place);

using ForkBytes = std::shared_ptr<std::vector<std::uint8_t>>;

/// Where a fork's bytes are.
struct ForkSource {
    ForkPlace place = ForkPlace::eNone;
    boost::filesystem::path file;  // the file that holds the bytes or carries the attribute
    std::string attribute;         // empty: the bytes are in the file
    std::uint64_t offset = 0;      // of the fork in the file; 0 for attributes and BinHex
    std::uint64_t length = 0;      // of the fork
};

/// The first thing on the way that a look could not see into, so that it may have missed something
/// there: a folder that cannot be listed, an attribute or a sidecar that cannot be read or is
/// damaged, a fork that the system does not hand out.
struct ForkTrouble {
    boost::system::error_code error;  // none: nothing was in the way
    std::string reason;               // what could not be seen and why, for people
    explicit operator bool() const { return static_cast<bool>(error); }
};

/// Answer to "where is the resource fork".
struct ForkAnswer {
    /// noErr; eofErr when no place holds a fork; fnfErr, permErr, ioErr, tmfoErr; memFullErr for a
    /// fork over the limit; mapReadErr when all forks found are damaged (source is then the first),
    /// as a BinHex fork over the limit is taken to be.
    std::int16_t status = 0;
    ForkSource source;
    ForkBytes bytes;  // never null with noErr; the receiver's own
    ForkTrouble trouble;
};

/// Answer to "what is the file's Finder information".
struct FinderAnswer {
    /// noErr also when nothing is known (info is zero then); fnfErr, permErr and so on when the
    /// file itself cannot be looked at.
    std::int16_t status = 0;
    ForkPlace place = ForkPlace::eNone;
    FinderInfo info;
    ForkTrouble trouble;
};

/// What belongs to a file but is kept outside its own bytes.
struct ExternalForks {
    std::int16_t status = 0;  // other than noErr: something is there that cannot be read
    FinderInfo finderInfo;
    ForkBytes resourceFork;  // null: none
    /// The bytes of an AppleDouble sidecar that is damaged, to be kept as they are; null: none.
    ForkBytes damagedSidecar;
    ForkTrouble trouble;  // what `status` is about
    bool empty() const { return finderInfo.empty() && !resourceFork && !damagedSidecar; }
};

/// Finds the resource fork and the Finder information of files, wherever operating systems, file
/// servers and archivers have put them.
///
/// Forks and Finder information are looked for apart, since they often live in different places.
/// A fork is taken from the first place that holds a plausible one (a resource header whose map of
/// at least 30 bytes lies inside it); the "intentionally left blank" placeholder yields to a real
/// fork of a later place. Finder information is taken from the first place with a nonzero type.
///
/// Costs few system calls: a folder is listed once while files of that folder are asked for,
/// sidecars are opened only where the listing shows them, attributes are listed once, and the
/// file's own bytes are looked at last. Nothing here blocks: only regular files are opened,
/// sidecars and their folders never through links.
///
/// Hostile files make an answer with a status; exceptions are only std::bad_alloc.
///
/// An object keeps a cache and serves one thread at a time; different objects are independent.
class OXPARSER_EXPORT ForkLocator {
  public:
    /// Longer forks are not read.
    static constexpr std::uint64_t kForkLimit = std::uint64_t{256} << 20;

    /// What a test or a host may replace.
    struct Environment {
        /// Names of a file's extended attributes, links followed. That there are none is no error.
        std::function<std::vector<std::string>(const boost::filesystem::path&,
                                               boost::system::error_code& error)>
            listAttributes;
        /// Bytes of one attribute; nothing without an error when it is not there, EFBIG when it is
        /// longer than `limit`.
        std::function<std::optional<std::vector<std::uint8_t>>(
            const boost::filesystem::path&, const std::string& name, std::uint64_t limit,
            boost::system::error_code& error)>
            readAttribute;
        /// Whether files of this folder may have attributes that are not listed; asked when the
        /// folder is.
        std::function<bool(const boost::filesystem::path& folder)> hidesAttributes;
        /// What is appended to a path to reach its resource fork as a file.
        std::string namedForkSuffix;
        std::string hfsForkSuffix;
        std::uint64_t forkLimit = kForkLimit;
        /// The system's own.
        static Environment native();
    };

    ForkLocator();
    explicit ForkLocator(Environment environment);
    ForkLocator(const ForkLocator&) = delete;
    ForkLocator& operator=(const ForkLocator&) = delete;
    ~ForkLocator();

    /// The Finder information of a regular file, links followed. A folder has none.
    FinderAnswer finderInfo(const boost::filesystem::path& file);
    /// The resource fork, read into memory.
    ForkAnswer resourceFork(const boost::filesystem::path& file);

    /// Fork and Finder information kept outside the file's own bytes: in a sidecar, an attribute
    /// or a native fork. A placeholder fork does not count; a damaged one does.
    ExternalForks externalForks(const boost::filesystem::path& file);
    /// Whether externalForks would find anything, or have a status other than noErr for a file
    /// that is there. No fork bytes are read.
    bool hasForkOutsideFile(const boost::filesystem::path& file);

    /// Whether `file` is an AppleDouble file ._NAME or %NAME beside an existing NAME, and so no
    /// font of its own.
    bool isSidecar(const boost::filesystem::path& file);
    /// Whether a folder holds a file of this name, up to case and normalisation, or one that its
    /// FINDER.DAT calls so.
    bool hasFileCalled(const boost::filesystem::path& folder, const std::string& name);
    /// Whether folders of this name hold nothing but sidecars; case does not matter.
    static bool isSidecarFolder(std::string_view name);

  private:
    Environment environment_;
    std::unique_ptr<ForkCaches> caches_;
};
