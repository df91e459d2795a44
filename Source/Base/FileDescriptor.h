#pragma once

#include <unistd.h>

#include <boost/system/error_code.hpp>
#include <cerrno>
#include <utility>

/// An open file or folder, closed at the end.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileDescriptor() { close(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }
    /// False when closing fails: some file systems report failed writes only then.
    bool close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

  private:
    int descriptor_ = -1;
};

/// The error with this errno value.
inline boost::system::error_code systemError(int number) {
    return {number, boost::system::system_category()};
}
/// The error of the system call that has just failed.
inline boost::system::error_code lastSystemError() {
    return systemError(errno);
}
