#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ByteBuffer.h"
#include "FileVersion.h"
#include "Md5.h"

class RegularFile;

/// Files of this size or more are not read.
constexpr std::uint64_t kTooLargeToRead = std::uint64_t{1} << 31;
/// The diagnostic of a file that is too large, or that memory does not suffice for.
constexpr char kTooLargeText[] = "Font file is too large to read";

/// Size of a regular file, links followed. Nothing for anything else (a folder, FIFO, socket or
/// device has no readable status as far as fonts go) and when the status query fails.
std::optional<std::uint64_t> regularFileSize(const boost::filesystem::path& file);

/// One file, opened for one sequential read into a buffer.
class FileBytes {
  public:
    /// Somebody who may have read a file already.
    enum class Supplied { eNothing, eDigest, eEverything };
    class Supplier {
      public:
        Supplier() = default;
        Supplier(const Supplier&) = delete;
        Supplier& operator=(const Supplier&) = delete;
        virtual ~Supplier() = default;
        /// What readAll would do with a file in this state. Everything: puts its bytes and
        /// `padding` zero bytes into `buffer` and the state of their digest into `md5`. Digest:
        /// only the latter. Nothing: leaves both unchanged.
        virtual Supplied supply(const FileVersion& version, std::size_t padding, ByteBuffer& buffer,
                                md5_state_t& md5) = 0;
    };
    /// The supplier that readAll asks first on the calling thread; null: none. Not owned.
    static void setSupplier(Supplier* supplier);

    FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes();

    /// Opens `file` in place of the one that was open, without ever blocking on it; false when it
    /// cannot be opened or is no regular file. size() is then the file's length.
    bool open(const boost::filesystem::path& file);
    std::uint64_t size() const;
    FileVersion version() const;
    /// Whether the open file is in this state now.
    bool isStill(const FileVersion& version) const;

    /// Reads at most `count` bytes at `offset` into `out`, without touching the sequential read;
    /// answers the number of bytes read, fewer at the file's end or after an error.
    std::size_t readAt(std::uint64_t offset, std::uint8_t* out, std::size_t count) const;

    /// Reads the whole file into `buffer`, which becomes size() + `padding` bytes long (the padding
    /// and bytes that could not be read are zero), and digests what was read. Answers the number
    /// of bytes read.
    std::size_t readAll(ByteBuffer& buffer, std::size_t padding = 0);
    /// The first error of a read since the file was opened; none when reads only met its end.
    const boost::system::error_code& readError() const { return readError_; }
    /// The digest of the bytes that readAll read, as lower-case hexadecimal text.
    std::string digest();

  private:
    std::unique_ptr<RegularFile> file_;
    mutable boost::system::error_code readError_;
    md5_state_t md5_{};
};
