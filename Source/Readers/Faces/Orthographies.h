#pragma once

#include <string>
#include <vector>

#include "CharacterSet.h"

/// The languages, by fontconfig's names and in byte order, whose orthography `characters` covers
/// whole. Orthographies without a character count for nothing.
///
/// Takes fontconfig's own lists, which are part of its library; neither its configuration nor a
/// font folder is read. Prepared once in a process, at the first call; a call takes a microsecond
/// or two. Safe from any thread.
std::vector<std::string> coveredLanguages(const CharacterSet& characters);
