#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "Support.h"

/// The clear text of a Type 1 program, each line ended by `lineEnd`.
std::string type1Text(std::initializer_list<std::string_view> lines,
                      std::string_view lineEnd = "\r");

/// The clear text of a small, well-formed program named "Acme-Bold".
std::string acmeType1Text(std::string_view lineEnd = "\r");

/// A PFB file: the clear text, a binary and a trailing text segment, each behind its header.
Bytes pfbFile(std::string_view clearText);

/// A well-formed PFM file, each field of which can be patched by name.
class PfmBuilder {
  public:
    PfmBuilder();

    /// Stores the low bytes of `value` in the field's width; an unknown name throws.
    PfmBuilder& set(std::string_view field, std::uint32_t value);
    std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_.size()); }
    const Bytes& bytes() const { return bytes_; }

  private:
    Bytes bytes_;
};
