#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <string>
#include <string_view>

#include "ByteView.h"
#include "Export.h"
#include "FinderInfo.h"
#include "ForkLocator.h"
#include "MacErrors.h"

/// The classic Resource Manager and File Manager operations that the Mac parsers and the suitcase
/// mover use, under their published names (Inside Macintosh: More Macintosh Toolbox, chapter 1;
/// Universal Interfaces, Files.h and Resources.h), over resource files that are found by
/// ForkLocator and read by ResourceFile.
///
/// Process-wide state: the current resource file, the open files and the last status. Each call
/// takes macParsingMutex() itself, so calls never race; whoever needs several calls to belong
/// together (save, open, work, close, restore) holds the same mutex around all of them.
///
/// No call throws anything but std::bad_alloc, and then changes nothing.

using ResType = std::uint32_t;     // four-character code, packed big-endian
using Handle = char**;             // block of bytes; its size is GetHandleSize
using Str255 = std::uint8_t[256];  // Pascal string: length byte, then Mac Roman text

constexpr std::int8_t fsRdPerm = 1;
constexpr std::int8_t fsRdWrPerm = 3;

/// The lock for everything that uses the current resource file. Recursive; never destroyed.
OXPARSER_EXPORT boost::recursive_mutex& macParsingMutex();

/// A file or folder by its path; made by FSPathMakeRef and FSCreateResourceFile.
struct FSRef {
    boost::filesystem::path path;
    bool isNew = false;  // created, but not on disk before its first update
    FinderInfo newInfo;  // of a created file
};
/// The name of a fork.
struct HFSUniStr255 {
    std::string name;
};
/// What the catalog says about a file; a folder's Finder information is left zero, since its bytes
/// mean something else.
struct FSCatalogInfo {
    FinderInfo finderInfo;
    bool isFolder = false;

    std::uint32_t fileType() const { return finderInfo.type(); }
    std::uint32_t fileCreator() const { return finderInfo.creator(); }
};
/// Parameter block of PBGetCatalogInfoSync.
struct FSRefParam {
    const FSRef* ref = nullptr;
    FSCatalogInfo* catInfo = nullptr;  // out
};

/// Makes a reference to an existing regular file or folder, links followed. fnfErr when there is
/// none (a FIFO, socket or device counts as none), permErr when a folder on the way is closed.
OXPARSER_EXPORT std::int16_t FSPathMakeRef(const char* utf8Path, FSRef* ref);
OXPARSER_EXPORT std::int16_t FSGetResourceForkName(HFSUniStr255* name);
OXPARSER_EXPORT std::int16_t FSGetDataForkName(HFSUniStr255* name);

/// Opens a fork as a resource file and makes it the current one. The data fork is the file's own
/// bytes, whatever they look like; the resource fork is where ForkLocator finds it. Each open is a
/// new reference, also of a file that is open already. With fsRdWrPerm only a file made by
/// FSCreateResourceFile opens (wrPermErr otherwise).
///
/// On failure *refNum is -1, the current file stays, and the status is also what ResError answers:
/// eofErr (no or an empty fork), fnfErr, permErr, ioErr, tmfoErr, memFullErr (2 GiB or more, a
/// resource fork over ForkLocator::kForkLimit, no memory), mapReadErr (damaged; in BinHex also over
/// that limit).
OXPARSER_EXPORT std::int16_t FSOpenResourceFile(const FSRef* ref, const HFSUniStr255& forkName,
                                                std::int8_t permission, std::int16_t* refNum);

/// The current file; 0 when there is none.
OXPARSER_EXPORT std::int16_t CurResFile();
/// Makes an open file, or none (0), current. For a number that is not open nothing changes but
/// ResError, which then answers resFNotFound.
OXPARSER_EXPORT void UseResFile(std::int16_t refNum);
/// Closes a file and releases its handles; a file open for writing is updated first. If it was the
/// current file, the most recently opened one of the others becomes current. For a number that is
/// not open nothing happens but ResError answering resFNotFound.
OXPARSER_EXPORT void CloseResFile(std::int16_t refNum);
/// Closes a file made by FSCreateResourceFile without writing what has not been updated; other
/// files are closed as by CloseResFile.
OXPARSER_EXPORT void DiscardResFile(std::int16_t refNum);
/// Status of the latest call on resources or resource files; paths, fork names, catalog
/// information and handles do not set it.
OXPARSER_EXPORT std::int16_t ResError();
/// What FSOpenResourceFile, FSGetCatalogInfo or PBGetCatalogInfoSync could not see into when one of
/// them was called last, whatever it answered.
OXPARSER_EXPORT ForkTrouble LastForkTrouble();

/// Number of resources of a type in the current file, in the order of the map, 32767 at most.
OXPARSER_EXPORT std::int16_t Count1Resources(ResType type);
/// The index-th resource of a type in the current file, counted from 1 in the order of the map.
///
/// Null when there is none (resNotFound), when its data does not lie inside the fork
/// (resNotFound), when it is compressed (CantDecompress) or without a current file (resFNotFound).
/// Asking twice gives the same handle. The file owns the handle until it is closed; its bytes must
/// not be changed. An empty resource has a handle of size 0, which is not null.
OXPARSER_EXPORT Handle Get1IndResource(ResType type, std::int16_t index);
/// The first resource with this type and id in the current file; otherwise as Get1IndResource, but
/// ResError is noErr after a type that the file's map does not hold at all.
OXPARSER_EXPORT Handle Get1Resource(ResType type, std::int16_t id);
/// Id, type and name of a resource; null pointers are allowed. `name` is always a whole Str255. For
/// anything but a resource's handle nothing is written and ResError is resNotFound.
OXPARSER_EXPORT void GetResInfo(Handle resource, std::int16_t* id, ResType* type,
                                std::uint8_t* name);

/// Size in bytes; 0 for null and for what is no handle. Never sets ResError.
OXPARSER_EXPORT std::int32_t GetHandleSize(Handle handle);
/// Handles never move: both do nothing.
OXPARSER_EXPORT void HLock(Handle handle);
OXPARSER_EXPORT void HUnlock(Handle handle);
/// A handle's bytes, for bounded reading; empty for null and for what is no handle. Valid until the
/// handle's file is closed.
OXPARSER_EXPORT ByteView handleBytes(Handle handle);

/// A block of zero bytes that the caller owns until DisposeHandle or until AddResource has given it
/// to a file. Null when `size` is negative or memory does not suffice.
OXPARSER_EXPORT Handle NewHandle(std::int32_t size);
/// Frees a handle of NewHandle that belongs to no file; does nothing for others.
OXPARSER_EXPORT void DisposeHandle(Handle handle);

/// Prepares a new file with Finder type and creator of `info` and an empty fork in an existing
/// folder. Nothing is on disk before the first UpdateResFile or CloseResFile, which writes the
/// complete file under a temporary name and puts it into place; a failed write leaves nothing
/// behind, and whatever has the name by then is never replaced (dupFNErr, also at once).
///
/// A MacBinary III file is written, which font tools on systems without forks read when its name
/// ends in .bin (Finder type and creator are in its header). The fork must be the resource fork.
/// The name must be one plain file name (paramErr). Also answered: fnfErr (no such folder),
/// permErr.
OXPARSER_EXPORT std::int16_t FSCreateResourceFile(const FSRef* parent, const std::string& name,
                                                  const FSCatalogInfo& info,
                                                  const HFSUniStr255& forkName, FSRef* newRef);
/// Gives a handle of NewHandle to the current file as a resource; `name` is a Pascal string in Mac
/// Roman, null or empty for none. addResFailed for null, for a handle that is a resource already
/// and when the map or the data area is full; wrPermErr when the current file is not open for
/// writing; the caller keeps the handle then.
OXPARSER_EXPORT void AddResource(Handle handle, ResType type, std::int16_t id,
                                 const std::uint8_t* name);
/// Marks a resource as to be written by the next update, as changed bytes are; resNotFound for what
/// is no resource, wrPermErr in a file open for reading.
OXPARSER_EXPORT void WriteResource(Handle resource);
/// Writes a file open for writing to disk; ResError tells how that went. Does nothing for others.
OXPARSER_EXPORT void UpdateResFile(std::int16_t refNum);

/// The Finder information of a file, wherever it is kept. fnfErr and so on as FSPathMakeRef.
OXPARSER_EXPORT std::int16_t FSGetCatalogInfo(const FSRef* ref, FSCatalogInfo* info);
OXPARSER_EXPORT std::int16_t PBGetCatalogInfoSync(FSRefParam* block);
