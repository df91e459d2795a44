#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <cstdint>
#include <optional>

#include "DirectoryWalk.h"
#include "FileBytes.h"
#include "OxFont.h"
#include "SfntReading.h"

class LogChannel;

/// A font's way from its file, or from memory, to the records of its tables.

/// Reads a whole file of one font as the format says; a new list of one record, owned by the
/// caller. `directory` receives the offset table when given.
boost::ptr_vector<OxFont>* readSfntFile(SfntReading& reading, const boost::filesystem::path& file,
                                        const SfntFormat& format,
                                        ttf::tagFontDirectory* directory = nullptr);
/// Reads `length` bytes from `image` on, converting in place, as a TrueType font; a new list of one
/// record that starts as a copy of `font`. Goes on counting work.
boost::ptr_vector<OxFont>* readSfntMemory(SfntReading& reading, const OxFont& font,
                                          ttf::tagFontDirectory& image, std::uint32_t length);

/// Whether a file of this size can be read as a font; what speaks against it is reported on the
/// font, nothing standing for a status that cannot be told.
bool hasReadableSize(const boost::filesystem::path& file, const std::optional<std::uint64_t>& size,
                     OxFont& font, const LogChannel& log);
/// Reads the opened file into the image and sets the fingerprint. Throws FileTooLarge and
/// std::bad_alloc, with no image then.
void readImage(SfntReading& reading, FileBytes& file, OxFont& font);
/// Sets "Foundry" from the record's copyright text ("Unknown" when that leaves it empty), and the
/// type that the format ends with.
void finish(OxFont& font, const SfntFormat& format);
