#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Names of the extended attributes of the file, links followed; empty when there are none or the
/// file system has no attributes.
std::vector<std::string> listFileAttributes(const boost::filesystem::path& file);

/// The bytes of one attribute; nothing when it is not there or longer than `limit`.
std::optional<std::vector<std::uint8_t>> readFileAttribute(const boost::filesystem::path& file,
                                                           const std::string& name,
                                                           std::uint64_t limit);
