#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <functional>
#include <string_view>

#include "ByteView.h"

/// What a file means to be, by its first bytes.
enum class FontFormat {
    eNone,
    eSfnt,
    eCollection,
    eWoff,
    eWoff2,
    ePfb,
    ePfa,
    eType42,
    eCid,
    eCff,
    ePfm,
    eAfm
};

/// The first bytes of a file, and the way to some later ones.
class FontStart {
  public:
    /// How many bytes are wanted at the start.
    static constexpr std::size_t kSize = 1024;
    /// Bytes at a place in the file, fewer at its end. The answer stays valid until the next call.
    using ReadAt = std::function<ByteView(std::uint64_t offset, std::size_t count)>;

    /// `start`: the first kSize bytes of a file of `fileSize` bytes, or all of a shorter one.
    FontStart(ByteView start, std::uint64_t fileSize, ReadAt readAt)
        : start_(start), fileSize_(fileSize), readAt_(std::move(readAt)) {}
    /// The start of a file that is in memory.
    explicit FontStart(ByteView file);

    ByteView bytes() const { return start_; }
    std::uint64_t fileSize() const { return fileSize_; }
    ByteView at(std::uint64_t offset, std::size_t count) const;

  private:
    ByteView start_;
    std::uint64_t fileSize_;
    ReadAt readAt_;
};

/// The format of a file, whatever its name; signatures say nothing of its being sound. A name with
/// the extension of a format that is only half recognised decides for it.
FontFormat recogniseFont(const FontStart& start, const boost::filesystem::path& file);

/// Whether the file's extension is one that fonts have.
bool hasFontExtension(const boost::filesystem::path& file);
/// Whether other programs use that extension for files of their own.
bool hasSharedFontExtension(const boost::filesystem::path& file);
/// Whether the extension is a font's, and of another kind than what the file was found to be.
bool extensionDisagrees(const boost::filesystem::path& file, FontFormat format, ByteView start);
/// For a font in a resource fork or resource file.
bool extensionDisagreesWithMacFont(const boost::filesystem::path& file);

/// What the first bytes of a file that is no font look like: "empty", "all zero", "HTML",
/// "archive", "image", "text" or "unknown".
std::string_view lookOfBytes(ByteView start);
