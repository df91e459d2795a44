#pragma once

#include <map>
#include <string>

#include "Support.h"

/// Inputs to start from, by target and name.
using Seeds = std::map<std::string, std::map<std::string, Bytes>>;

Seeds makeSeeds();
