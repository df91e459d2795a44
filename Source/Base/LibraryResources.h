#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "Export.h"

/// Where the library's own resource `name`.`type` is: "foundrylist" and "foundrycodelist" of type
/// "txt". Looked for, in this order, in the folder that the environment variable
/// OXPARSER_RESOURCES names, in the installed data folder beside the library (of a library that is
/// linked in: beside the program), in the install path known at build time, and, in a build tree
/// only, among the sources. An empty path when it is in none of them. Safe from any thread.
OXPARSER_EXPORT boost::filesystem::path libraryResource(const std::string& name,
                                                        const std::string& type);
