#pragma once

#include <boost/system/error_code.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FileBytes.h"
#include "SfntImage.h"
#include "WorkBudget.h"

/// What a parser of sfnt fonts works on and keeps from font to font. The functions that read a
/// directory or a table get it from the parser that was called; one thread at a time.
struct SfntReading {
    explicit SfntReading(int platform) : platformId(platform) {}

    const int platformId;  ///< which name records count, see OxParserTrueTypeImp
    SfntImage image;       ///< the font in memory
    SfntWork work;         ///< counted since the file or resource was begun

    std::uint16_t glyphCount = 0;  ///< kept from font to font, deliberately: 'kern' may come first
    bool italic = false;           ///< bit 0 of fsSelection of the last 'OS/2' table read
    std::vector<std::string> fontNames;  ///< of the current file's CFF table

    ByteBuffer fileBuffer;   ///< what a file is read into; grows to the largest
    std::string fileDigest;  ///< of the last file read
    /// What kept bytes of it from being read: they count as zero, and a record cannot tell.
    boost::system::error_code fileError;
};
