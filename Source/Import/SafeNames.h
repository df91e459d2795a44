#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Names of folders and files that every common file system takes, made of texts out of fonts.
///
/// UTF-8 in normalisation form C (text that is not UTF-8 is taken as ISO 8859-1); control
/// characters and / \ : * ? " < > | are _; no dot, hyphen or blank in front, no dot or blank at
/// the end; no device name of Windows, with or without extension; at most kLongestSafeName bytes,
/// cut between characters. A name that is safe is left as it is.
inline constexpr std::size_t kLongestSafeName = 120;

/// A folder's name; empty when nothing is left of the text.
std::string safeName(std::string_view text);
/// A file's name: cut before its extension, and never empty.
std::string safeFileName(std::string_view text);

/// The first character of a safe name; empty for an empty one.
std::string initialOf(std::string_view safeName);

/// NAME-2.EXT and so on of a safe file name, which stays as short.
std::string numberedFileName(std::string_view safeFileName, unsigned number);
/// NAME-2 and so on for the name NAME.EXT of a file.
std::string numberedFolderName(std::string_view safeFileName, unsigned number);

/// Equal for names that differ in case and normalisation only (Unicode's full case folding).
std::string caseFolded(std::string_view name);
