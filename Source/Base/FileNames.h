#pragma once

#include <string>
#include <string_view>

/// A file name with accented letters and Hangul syllables taken apart, as Macs store names; names
/// that differ only in Unicode normalisation become equal. Bytes that are no UTF-8 stay as they
/// are.
std::string canonicalName(std::string_view name);

/// canonicalName without the difference of upper and lower case in Latin letters.
std::string foldedName(std::string_view name);

/// Whether canonicalName would leave the name as it is, as far as can be told at a glance.
bool isPlainAscii(std::string_view name);
