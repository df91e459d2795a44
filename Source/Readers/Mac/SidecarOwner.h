#pragma once

#include <boost/filesystem/path.hpp>

#include "ByteView.h"
#include "ForkLocator.h"

/// Whether a file is what a system keeps beside another file, which is there: an AppleDouble file
/// ._NAME or %NAME, a file in one of the folders that hold nothing but sidecars, in the tree that
/// unpacking a Mac's zip archive leaves (__MACOSX), or a fork in NAME.rsrc or R.NAME. `start` holds
/// the file's first bytes. Without its owner a sidecar is a file like others.
///
/// Costs nothing for a file whose name and folders are not a sidecar's.
bool isSidecarOfExistingFile(ForkLocator& forks, const boost::filesystem::path& file,
                             ByteView start);
