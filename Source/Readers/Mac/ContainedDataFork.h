#pragma once

#include <cstdint>

#include "ByteView.h"
#include "ForkLocator.h"

struct FileInHand;

/// The data fork inside a container of both forks.
struct ContainedFork {
    ByteView bytes;  // empty: none
    ForkBytes owned;
    /// The container says that there is one, which is damaged or cut.
    bool isDamaged = false;
};

/// Whether a file begins as AppleSingle, MacBinary or BinHex does.
bool isForkContainer(const FileInHand& file);

/// The data fork in an AppleSingle, MacBinary or BinHex file, of at most 64 MiB when it has to be
/// unpacked; to be recognised like a file, but not as a container once more. The bytes are the
/// file's own where they stand in it.
ContainedFork containedDataFork(const FileInHand& file);
