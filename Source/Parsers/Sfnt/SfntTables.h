#pragma once

#include <cstdint>
#include <span>

#include "FourCharCode.h"
#include "OxParserTrueTypeImp.h"

/// One table that the parsers read, and everything that its reports say.
struct SfntTable {
    using Reader = bool (OxParserTrueTypeImp::*)(const ttf::tagTableDirectory*, OxFont&);

    std::uint32_t tag;
    int minimumSize;  ///< bytes from the table's offset on that must lie inside the image
    const char* logText;
    Reader read;
    int failedCode;
    const char* failedText;
    int checksumCode;           ///< 0: the table has no checksum comparison
    const char* checksumLabel;  ///< up to and including "stored" and its separator
    const char* exceptionLabel;
};

/// The tables of a TrueType file; 'kern', which some formats read, comes last.
std::span<const SfntTable> sfntTables();
/// The row of a tag; null for a tag that no parser reads.
const SfntTable* findSfntTable(std::uint32_t tag);

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
constexpr unsigned kMostTables = 36;
constexpr unsigned kOffsetTableSize = 12;
constexpr unsigned kDirectoryRecordSize = 16;
