#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ResourceForkBuilder.h"
#include "ResourceManager.h"
#include "Support.h"

/// Makes a family record that its checks find no fault with. A test changes a member, or patches
/// the bytes that build() answers.
struct FondBuilder {
    struct Entry {
        int size;
        int style;
        int id;
    };
    std::vector<Entry> entries;
    /// Of the style name table; with none the family has no style table.
    std::vector<std::string> names;
    std::map<int, std::uint8_t> styleIndexes;  ///< by style code

    static constexpr std::size_t kStyleTableField = 24;
    static constexpr std::size_t kCountField = 52;
    std::size_t styleTableAt() const { return 54 + 6 * entries.size(); }

    Bytes build() const;
    operator Bytes() const { return build(); }

    /// Without names, as families of outlines are.
    static FondBuilder of(std::vector<Entry> entries);
    /// One entry; names are a base name and the pieces "-", "Bold" and "Oblique" in several
    /// styles.
    static FondBuilder helvetica(Entry entry);
};

/// A strike of that many bytes.
Bytes strike(std::size_t size = 300, std::uint32_t first = 32, std::uint32_t last = 126);

/// A TrueType font of that PostScript name, filled up to `size` bytes.
Bytes outline(const std::string& postscriptName = "AcmeSans-Bold", std::size_t size = 5000);

/// Data of a system-compressed resource, whose attributes say so, too (0x01).
Bytes compressedResource();

/// The 'POST' resources of a printer font: chunks of kind and data, ids from 501 on.
ResourceForkBuilder postChunks(const std::vector<std::pair<int, std::string>>& chunks);
/// The clear text of a Type 1 program with the usual names.
std::string type1Program();

/// Keeps a fork open as the current resource file.
class OpenResources {
  public:
    explicit OpenResources(const ResourceForkBuilder& fork) : OpenResources(fork.build()) {}
    explicit OpenResources(const Bytes& fork);
    OpenResources(const OpenResources&) = delete;
    OpenResources& operator=(const OpenResources&) = delete;
    ~OpenResources();

    std::int16_t reference() const { return reference_; }

  private:
    TemporaryFolder folder_;
    const std::int16_t saved_ = CurResFile();
    std::int16_t reference_ = -1;
};
