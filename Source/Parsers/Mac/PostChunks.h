#pragma once

#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

/// The PostScript program of a printer font file, as far as it is text.
///
/// The current resource file holds it in resources of type 'POST', ids 501, 502, …, each a kind
/// (one byte), a zero byte and data (Adobe Technical Note #5040). Kinds: 0 comment, 1 text,
/// 2 encrypted bytes, 3 end of file, 4 "the program is in the data fork", 5 end of the font.
struct PostChunks {
    std::string text;
    std::vector<std::string> defects;  ///< in the order in which they were met

    /// Reads the chunks of the current resource file; `file` is the one that it was opened from.
    /// The caller holds macParsingMutex.
    static PostChunks read(const boost::filesystem::path& file);
};
