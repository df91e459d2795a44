#include "ScratchFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <cstdlib>

#include "Check.h"

namespace fs = boost::filesystem;

namespace {

fs::path parentFolder() {
    if (const char* chosen = std::getenv("OXPARSER_FUZZ_FOLDER")) {
        return chosen;
    }
    constexpr char kInMemory[] = "/dev/shm";
    return ::access(kInMemory, W_OK) == 0 ? fs::path(kInMemory) : fs::temp_directory_path();
}

}  // namespace

ScratchFolder& ScratchFolder::instance() {
    static ScratchFolder folder;
    return folder;
}

ScratchFolder::ScratchFolder()
    : path_(fs::canonical(parentFolder()) / fs::unique_path("oxparser-fuzz-%%%%%%%%")) {
    fs::create_directory(path_);
}

ScratchFolder::~ScratchFolder() {
    boost::system::error_code error;
    fs::remove_all(path_, error);
}

fs::path ScratchFolder::write(const std::string& name, ByteView bytes) const {
    fs::path file = path_ / name;
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    check(descriptor >= 0, "the scratch folder can be written to", file.string());
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    ::close(descriptor);
    check(written == static_cast<ssize_t>(bytes.size()), "the scratch folder has room");
    return file;
}

void ScratchFolder::clear() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(path_)) {
        fs::remove_all(entry.path());
    }
}
