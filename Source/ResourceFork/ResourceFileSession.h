#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "ResourceManager.h"

/// A file that cannot be opened. Its text is what becomes a diagnostic.
class ForkError : public std::runtime_error {
  public:
    ForkError(const std::string& text, std::int16_t status, ForkTrouble trouble)
        : std::runtime_error(text), status_(status), trouble_(std::move(trouble)) {}

    std::int16_t status() const { return status_; }
    /// Why, for people; never none.
    const ForkTrouble& trouble() const { return trouble_; }

  private:
    std::int16_t status_;
    ForkTrouble trouble_;
};

/// Makes a file reference; the assertion "err == noErr" throws ForkError.
FSRef referenceTo(const boost::filesystem::path& file);

/// FSGetResourceForkName or FSGetDataForkName.
using ForkNameOperation = std::int16_t (*)(HFSUniStr255*);

/// Opens a fork for reading and makes it current. A failure throws ForkError.
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
