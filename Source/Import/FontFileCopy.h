#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <span>
#include <string>

#include "FileDescriptor.h"

/// Copies the regular file `source` into `folder` under `name`, with its permissions (less the
/// umask) and its modification time. Nothing ever replaces an existing file, and the copy is there
/// complete or not at all. Without an error it is there.
///
/// `sidecar` is what travels beside the file as "._NAME"; empty when nothing does. It is there
/// before the file is, so that an interrupted copy can be made again: one of equal bytes that
/// exists already is taken as it is, another one makes the copy fail with EEXIST, as an existing
/// file does.
///
/// Fails when the file is not regular (nothing blocks on opening it), when it changes while it is
/// being read, and with whatever error reading and writing meet.
[[nodiscard]] boost::system::error_code copyFontFile(const boost::filesystem::path& source,
                                                     const FileDescriptor& folder,
                                                     const std::string& name,
                                                     std::span<const std::uint8_t> sidecar);

/// Whether two files hold the same bytes. False when `b` is not there or no regular file; an
/// error when one of them cannot be read otherwise.
bool haveEqualBytes(const boost::filesystem::path& a, const boost::filesystem::path& b,
                    boost::system::error_code& error);
