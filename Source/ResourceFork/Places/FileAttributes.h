#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Names of the extended attributes of the file, links followed. None without an error when there
/// are none, the file system has no attributes or the file is not there.
std::vector<std::string> listFileAttributes(const boost::filesystem::path& file,
                                            boost::system::error_code& error);

/// The bytes of one attribute. Nothing without an error when it or the file is not there; EFBIG
/// when it is longer than `limit`.
std::optional<std::vector<std::uint8_t>> readFileAttribute(const boost::filesystem::path& file,
                                                           const std::string& name,
                                                           std::uint64_t limit,
                                                           boost::system::error_code& error);
