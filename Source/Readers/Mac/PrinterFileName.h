#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The file name of the printer font for a PostScript name in parts, in the script of the parts
/// (Adobe Technical Note 0091, Macintosh FOND Resources): of the first word five letters, of every
/// later one three. A word begins with a capital letter; a part after the base name begins one in
/// any case. What follows an underscore in a part does not count.
std::string printerFileName(const std::vector<std::string_view>& nameParts);
