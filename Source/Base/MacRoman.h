#pragma once

#include <string>
#include <string_view>

/// Text in the Mac OS Roman character set as UTF-8. Ends at the first zero byte; a result longer
/// than 255 bytes is cut after the last whole character that fits.
///
/// The character set is the published one (unicode.org, Public/MAPPINGS/VENDORS/APPLE/ROMAN.TXT):
/// 0xDB is the euro sign, 0xF0 the private-use character U+F8FF.
std::string macRomanToUtf8(std::string_view text);

/// The Mac OS Roman form of UTF-8 text; "_" for each character that the set does not have.
std::string macRomanFromUtf8(std::string_view text);
