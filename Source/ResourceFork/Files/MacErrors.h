#pragma once

#include <cstdint>

#include "Export.h"

/// Status codes of the classic Resource Manager and File Manager that the resource operations
/// answer (Apple, Universal Interfaces, MacErrors.h). Zero is success, everything else is negative.
constexpr std::int16_t noErr = 0;
constexpr std::int16_t dskFulErr = -34;        // no space left
constexpr std::int16_t ioErr = -36;            // reading or writing failed
constexpr std::int16_t eofErr = -39;           // no resource fork, or an empty one
constexpr std::int16_t tmfoErr = -42;          // too many open files
constexpr std::int16_t fnfErr = -43;           // no such file, or none that can be read
constexpr std::int16_t dupFNErr = -48;         // the name is taken
constexpr std::int16_t paramErr = -50;         // an argument makes no sense
constexpr std::int16_t permErr = -54;          // not permitted
constexpr std::int16_t wrPermErr = -61;        // the file is not open for writing
constexpr std::int16_t memFullErr = -108;      // too large to read, or out of memory
constexpr std::int16_t CantDecompress = -186;  // a compressed resource
constexpr std::int16_t resNotFound = -192;     // no such resource
constexpr std::int16_t resFNotFound = -193;    // no such open resource file
constexpr std::int16_t addResFailed = -194;    // the resource cannot be added
constexpr std::int16_t mapReadErr = -199;      // header or map damaged
