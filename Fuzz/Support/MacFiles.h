#pragma once

#include <boost/filesystem/path.hpp>

#include "ByteView.h"

/// Writes an empty file of this Finder type with a resource fork, both in its sidecar.
boost::filesystem::path writeMacFile(const char* name, std::uint32_t type, ByteView fork);
