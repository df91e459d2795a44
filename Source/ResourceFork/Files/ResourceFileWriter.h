#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ByteView.h"

/// Builds a resource file (layout: ResourceFile.h) from resources. Types and the resources of a
/// type stand in the map in the order in which they were first added.
class ResourceFileWriter {
  public:
    /// Adds a resource; the bytes are looked at by build() and must live until then. `name` is Mac
    /// Roman, cut at 255 bytes, empty for none. False, and nothing added, when the resource does
    /// not fit the format any more: it would begin 16 MiB or more behind the first, or the map's
    /// lists would outgrow their 16-bit offsets.
    [[nodiscard]] bool add(std::uint32_t type, std::int16_t id, std::string_view name,
                           std::uint8_t attributes, ByteView data);

    /// The resource file.
    std::vector<std::uint8_t> build() const;

  private:
    struct Resource {
        std::int16_t id;
        std::string name;
        std::uint8_t attributes;
        ByteView data;
    };
    struct Type {
        std::uint32_t type;
        std::vector<Resource> resources;
    };

    std::vector<Type> types_;
    std::size_t references_ = 0;
    std::size_t dataSize_ = 0;
    std::size_t namesSize_ = 0;
};
