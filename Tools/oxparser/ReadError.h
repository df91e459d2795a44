#pragma once

#include <string>

#include "OxFont.h"

/// Whether the record may come from a file that could not be read: its parser says so or found
/// nothing at all in the file.
bool looksUnread(const OxFont& font);

/// The error number of reading from the file; 0 when that works, and for what is no regular file.
int readError(const std::string& file);
