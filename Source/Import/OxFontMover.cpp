#include "OxFontMover.h"

#include <fcntl.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <exception>
#include <vector>

#include "AppleDouble.h"
#include "FolderBelow.h"
#include "FontFileCopy.h"

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;

FileDescriptor openFolder(const fs::path& folder, error_code& error) {
    FileDescriptor descriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    error = descriptor.isOpen() ? error_code() : lastSystemError();
    return descriptor;
}

// A missing folder is no failure: the copy is skipped.
CopyResult withoutFolder(const error_code& error) {
    switch (error.value()) {
        case ENOENT:
        case ENOTDIR:
            return {CopyOutcome::eNoFolder, {}};
        case EXDEV:
            return {CopyOutcome::eRefused, {}};
        default:
            return CopyResult::failed(error);
    }
}

bool sameFork(const ForkBytes& a, const ForkBytes& b) {
    static const std::vector<std::uint8_t> none;
    return (a ? *a : none) == (b ? *b : none);
}

}  // namespace

OxFontMover::OxFontMover() = default;

OxFontMover::OxFontMover(const fs::path& source, const fs::path& destination)
    : source_(source), destination_(destination) {}

OxFontMover::~OxFontMover() = default;

void OxFontMover::Move(const fs::path& source, const fs::path& destination,
                       boost::shared_ptr<OxFont>& /*font*/) {
    lastCopy_.reset();
    try {
        if (!fs::exists(fs::status(destination))) {
            lastCopy_ = copy(source, destination);
        }
    } catch (const boost::system::system_error& error) {
        lastCopy_ = CopyResult::failed(error.code());
    } catch (const std::bad_alloc&) {
        lastCopy_ = CopyResult::failed(systemError(ENOMEM));
    } catch (const std::exception&) {
        lastCopy_ = CopyResult::failed(systemError(EIO));
    }
}

CopyResult OxFontMover::copy(const fs::path& source, const fs::path& destination) {
    error_code error;
    FileDescriptor folder;
    std::string name = destination.filename().string();
    if (bounds_.empty()) {
        folder = openFolder(destination.parent_path(), error);
    } else if (const auto below = pathBelow(bounds_, destination)) {
        folder = openFolderBelow(bounds_, below->parent_path(), MissingFolders::eKeep, error);
        name = below->filename().string();
    } else {
        return {CopyOutcome::eRefused, {}};
    }
    if (error) {
        return withoutFolder(error);
    }
    const ExternalForks forks = forks_.externalForks(source);
    if (forks.trouble) {
        return CopyResult::failed(forks.trouble.error);
    }
    std::vector<std::uint8_t> sidecar;
    if (forks.damagedSidecar) {
        sidecar = *forks.damagedSidecar;
    } else if (!forks.empty()) {
        const ByteView fork = forks.resourceFork ? ByteView(*forks.resourceFork) : ByteView();
        sidecar = appledouble::makeAppleDouble(forks.finderInfo, fork);
    }
    error = copyFontFile(source, folder, name, sidecar);
    if (error.value() == EEXIST) {
        // Somebody was quicker, or a dangling link or another file's sidecar has the name.
        return compare(source, destination);
    }
    return error ? CopyResult::failed(error) : CopyResult{CopyOutcome::eCopied, {}};
}

CopyResult OxFontMover::compare(const fs::path& source, const fs::path& destination) {
    error_code error;
    const bool equal = haveEqualBytes(source, destination, error);
    if (error) {
        return CopyResult::failed(error);
    }
    if (!equal) {
        return {CopyOutcome::eDiffers, {}};
    }
    const ExternalForks one = forks_.externalForks(source);
    const ExternalForks other = forks_.externalForks(destination);
    for (const ExternalForks* forks : {&one, &other}) {
        if (forks->trouble) {
            return CopyResult::failed(forks->trouble.error);
        }
    }
    const bool same = sameFork(one.resourceFork, other.resourceFork) &&
                      sameFork(one.damagedSidecar, other.damagedSidecar);
    return {same ? CopyOutcome::eSame : CopyOutcome::eDiffers, {}};
}
