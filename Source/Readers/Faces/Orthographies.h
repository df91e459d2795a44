#pragma once

#include <string>
#include <vector>

#include "CharacterSet.h"

/// The languages, by fontconfig's names and in byte order, whose orthography `characters` covers
/// whole. Prepared once in a process; answers for recent sets are remembered. Safe from any thread.
std::vector<std::string> coveredLanguages(const CharacterSet& characters);
