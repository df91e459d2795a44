#pragma once

#include <boost/filesystem/path.hpp>

#include "OxFont.h"

class LogChannel;

/// What every parser of a plain file does first: the two path attributes.
void setPathAttributes(OxFont& font, const boost::filesystem::path& file);

/// True when the file name's extension, compared without regard to ASCII case, is `extension` (in
/// upper case, with its dot).
bool hasExtension(const boost::filesystem::path& file, const char* extension);

/// What every parser does with a file that is too large, or that memory does not suffice for: a
/// diagnostic on the record and a line in the log.
void reportTooLarge(OxFont& font, const boost::filesystem::path& file, const LogChannel& log);
