#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "FileBytes.h"
#include "OxFont.h"

class LogChannel;

/// What every parser of a plain file does first: the two path attributes.
void setPathAttributes(OxFont& font, const boost::filesystem::path& file);

/// True when the file name's extension, compared without regard to ASCII case, is `extension` (in
/// upper case, with its dot).
bool hasExtension(const boost::filesystem::path& file, const char* extension);

/// A file that has become too large to read since its size was looked at.
class FileTooLarge : public std::runtime_error {
  public:
    FileTooLarge() : std::runtime_error(kTooLargeText) {}
};

/// What every parser does with a file that is too large, or that memory does not suffice for: a
/// diagnostic on the record and a line in the log.
void reportTooLarge(OxFont& font, const boost::filesystem::path& file, const LogChannel& log);

/// A new list of one record, owned by the caller, as `read` leaves it. FileTooLarge, and that
/// memory does not suffice, is reported; `failed` gets the text of any other exception that `read`
/// throws.
boost::ptr_vector<OxFont>* readOneRecord(
    const boost::filesystem::path& file, const LogChannel& log,
    const std::function<void(OxFont&)>& read,
    const std::function<void(OxFont&, const std::string&)>& failed);

/// Reads a file whose status told of `size` bytes into `buffer`, with `padding` zero bytes behind
/// it; `bytes` then knows its digest. False when it cannot be read to its end or has become
/// shorter. Throws FileTooLarge and std::bad_alloc.
bool readWhole(const boost::filesystem::path& file, std::uint64_t size, FileBytes& bytes,
               ByteBuffer& buffer, std::size_t padding = 0);
