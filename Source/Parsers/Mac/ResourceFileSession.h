#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>

#include "ResourceManager.h"

/// Makes a file reference; the assertion "err == noErr" throws std::runtime_error.
FSRef referenceTo(const boost::filesystem::path& file);

/// FSGetResourceForkName or FSGetDataForkName.
using ForkNameOperation = std::int16_t (*)(HFSUniStr255*);

/// Opens a fork for reading and makes it current. A failure throws std::runtime_error with the text
/// that becomes a diagnostic.
std::int16_t openFork(const FSRef& file, ForkNameOperation forkName);

/// One resource file that is open and current for as long as the object lives. Whatever happens in
/// between, the file is closed and the file that was current before is current again. The caller
/// holds macParsingMutex.
class ResourceFileSession {
  public:
    ResourceFileSession() : saved_(CurResFile()) {}
    ResourceFileSession(const ResourceFileSession&) = delete;
    ResourceFileSession& operator=(const ResourceFileSession&) = delete;
    ~ResourceFileSession() {
        CloseResFile(opened_);
        UseResFile(saved_);
    }

    void open(const FSRef& file, ForkNameOperation forkName) { opened_ = openFork(file, forkName); }

  private:
    const std::int16_t saved_;
    std::int16_t opened_ = -1;
};
