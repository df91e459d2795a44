#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <optional>

#include "FileDescriptor.h"

/// The path of `file` below `folder`, without "." and ".." elements; both are made absolute and
/// normalised lexically. Nothing when `file` does not lie below `folder` (the folder itself does
/// not) or when its path holds a zero byte.
std::optional<boost::filesystem::path> pathBelow(const boost::filesystem::path& folder,
                                                 const boost::filesystem::path& file);

enum class MissingFolders { eKeep, eCreate };

/// Opens the folder `relative`, a path that pathBelow answers or an empty one, below `root`, as a
/// base for the ...at system calls.
///
/// No link leads out: a link below `root` is followed when its target lies below `root` too, and
/// answers EXDEV otherwise, also when it is put there while the path is being walked.
FileDescriptor openFolderBelow(const boost::filesystem::path& root,
                               const boost::filesystem::path& relative, MissingFolders missing,
                               boost::system::error_code& error);
