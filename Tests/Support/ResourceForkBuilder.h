#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "BigEndian.h"
#include "Support.h"

/// Makes resource files, on its own and not with the library's writer. Types stand in the order in
/// which they were first added.
class ResourceForkBuilder {
  public:
    ResourceForkBuilder& add(std::string_view type, int id, Bytes data, std::string name = {},
                             std::uint8_t attributes = 0);
    /// A type entry without references of its own: `type` once more, with the references of
    /// `source`.
    ResourceForkBuilder& addTypeAgain(std::string_view type, std::string_view source);

    Bytes build() const;
    operator Bytes() const { return build(); }

    // Places in what build() answers, for patching.
    std::size_t mapAt() const;
    std::size_t typeListAt() const { return mapAt() + 28; }
    std::size_t typeEntryAt(std::size_t index) const { return typeListAt() + 2 + 8 * index; }
    /// Of the reference to the index-th resource, counted through all types as they stand.
    std::size_t referenceAt(std::size_t index) const;

  private:
    struct Resource {
        int id;
        Bytes data;
        std::string name;
        std::uint8_t attributes;
    };
    struct Type {
        std::string type;
        std::string source;  // empty: has its own references
        std::vector<Resource> resources;
    };
    std::vector<Type> types_;
};

/// The placeholder that Mac OS X keeps for files without resource fork.
Bytes placeholderFork();

/// 32 bytes of Finder information.
Bytes finderInfoBytes(std::string_view type, std::string_view creator);

using AppleEntries = std::vector<std::pair<std::uint32_t, Bytes>>;
/// An AppleSingle or AppleDouble file; its entries' bytes follow the header in the same order.
Bytes appleFile(std::uint32_t magic, const AppleEntries& entries, std::uint32_t version = 0x20000);
/// A sidecar in the shape of Mac OS X.
Bytes appleDouble(std::string_view type, std::string_view creator, const Bytes& fork);

struct MacBinaryOptions {
    int version = 3;
    std::string type = "FFIL";
    std::string creator = "DMOV";
    Bytes dataFork;
    std::uint16_t secondaryLength = 0;
    bool rightChecksum = true;
};
Bytes macBinary(const Bytes& fork, const MacBinaryOptions& options = {});

struct BinHexOptions {
    std::string before = {};  // text before the announcing line
    std::string type = "FFIL";
    std::string creator = "DMOV";
    Bytes dataFork = {};
    bool rightForkChecksum = true;
    bool lastColon = true;
};
Bytes binHex(const Bytes& fork, const BinHexOptions& options = {});
/// Bytes as BinHex text, run-length packed, without the announcing line and the colons.
std::string binHexText(const Bytes& bytes);

Bytes afpInfo(std::string_view type, std::string_view creator);

struct FinderDatRecord {
    std::string macName;
    std::string shortName;  // 8 and 3 characters, blank-padded
    std::string type;
    std::string creator;
};
/// A FINDER.DAT on a disk with clusters of this size.
Bytes finderDat(const std::vector<FinderDatRecord>& records, std::size_t cluster);

/// CRC-16/XMODEM, bit by bit.
std::uint16_t xmodem(const Bytes& bytes);
