#pragma once

#include <cstdint>
#include <span>

#include "FourCharCode.h"
#include "OxFont.h"
#include "SfntReading.h"
#include "TtfRecords.h"

/// One table that the parsers read, and everything that its reports say.
struct SfntTable {
    /// Reads what there is to read behind the checksum comparison; false means failure, as does an
    /// exception.
    using Reader = bool (*)(SfntReading&, const ttf::tagTableDirectory&, OxFont&);

    std::uint32_t tag;
    int minimumSize;  ///< bytes from the table's offset on that must lie inside the image
    const char* logText;
    Reader read;  ///< null: the table has nothing but its checksum
    int failedCode;
    int checksumCode;  ///< 0: the table has no checksum comparison
    const char* failedText;
    const char* checksumLabel;  ///< up to and including "stored" and its separator
    const char* exceptionLabel;
    const char* checksumKey;  ///< attribute that gets the stored checksum, right or wrong, or null
};

/// The row of a tag; null for a tag that no parser reads.
const SfntTable* findSfntTable(std::uint32_t tag);

/// Compares the table's checksum and reads it; what is wrong with it is reported. `record` is in
/// host order, and null fails without a report.
bool readTable(const SfntTable& table, SfntReading& reading, const ttf::tagTableDirectory* record,
               OxFont& font);
