#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ByteBuffer.h"
#include "ContainedDataFork.h"
#include "Face.h"
#include "FileBytes.h"
#include "FolderPartners.h"
#include "FontSignatures.h"
#include "ForkLocator.h"
#include "MacFileLook.h"
#include "ReadingDetails.h"

/// What one file is, and its records: first a look at its beginning and, where that is no font's,
/// at its forks; then, if wanted, the reading, from the file that the look has open. Keeps its
/// memory and listings of folders from file to file.
class FileLook {
  public:
    bool isOf(const boost::filesystem::path& file) const { return isCurrent_ && path_ == file; }
    /// Whether the file gives records.
    bool at(const boost::filesystem::path& file);
    /// Its records, once.
    void read(const ReadingDetails& details, FontFaces& faces);
    void release();
    /// What kept the file from being read whole; for people.
    std::string takeTrouble() { return std::exchange(trouble_, {}); }

  private:
    enum class Kind { eNothing, eFont, eContainedFont, eMac, eNoFont, eUnreadable };

    Kind look();
    Kind lookWithoutFont();
    Kind lookUnopened();
    bool isFontItself();
    bool isContainedFont();
    ByteView start() const { return ByteView(start_); }
    FileInHand inHand();
    ByteView whole();
    void readFont(ByteView bytes, const ReadingDetails& details, FontFaces& faces);
    void readMac(const ReadingDetails& details, FontFaces& faces);
    bool fill();
    void addNoFont(FontFaces& faces);

    ForkLocator forks_;
    FolderPartners partners_;
    boost::filesystem::path path_;
    bool isCurrent_ = false;
    Kind kind_ = Kind::eNothing;
    FontFormat format_ = FontFormat::eNone;
    FileBytes file_;
    bool isOpen_ = false;
    std::vector<std::uint8_t> start_;
    std::vector<std::uint8_t> further_;  // what a signature asked for last
    ByteBuffer bytes_;                   // kept from file to file
    ByteView whole_;                     // the file in it
    bool isFilled_ = false;              // the file was read, as far as it could be
    std::string incomplete_;             // why not to its end; empty when it was
    ContainedFork contained_;
    MacFile mac_;
    std::string trouble_;
};
