#pragma once

#include <cstdint>
#include <span>

#include "OxFont.h"
#include "SfntReading.h"
#include "SfntTables.h"
#include "TtfRecords.h"

/// What tells the formats of the sfnt family apart.
struct SfntFormat {
    struct Version {
        std::uint32_t version;
        int fontType;  ///< -1: the version says nothing about it
        const char* platform;
    };

    const char* category;  ///< log category
    std::span<const Version> versions;
    int initialFontType;  ///< set before the version is judged; -1: none
    bool readsKerning;
    bool signatureSetsType;       ///< a 'DSIG' table makes the font an OTTT
    const SfntTable* extraTable;  ///< a table that this format alone reads, or null
    int finalFontType;            ///< set after the walk, with the foundry; -1: neither
};

constexpr std::uint32_t kTrueTypeVersion = 0x00010000;
constexpr unsigned kOffsetTableSize = 12;

/// The offset table that `bytes` begin with, in host order.
ttf::tagFontDirectory readOffsetTable(ByteView bytes);

/// Walks `count` records of the table directory at `start` of the image, which it converts in
/// place, and reads every table that the format reads, as far as the work allows. A count that no
/// parser accepts is reported (11001) and answers false; nothing is read then.
bool walkDirectory(SfntReading& reading, OxFont& font, std::uint64_t start, unsigned count,
                   const SfntFormat& format);

/// Whether a table may be read; otherwise its tag is reported (11013).
bool preflight(const ttf::tagTableDirectory& record, OxFont& font, std::uint32_t imageLength);
