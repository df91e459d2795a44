#pragma once

#include <cstdint>

/// What one file may cost, whatever its counts claim. Readers say what they are about to do; when
/// too much has been asked for they stop, keep what they have and add one finding.
///
/// The unit is about the cost of looking at one byte. A sound file needs a few times its size; the
/// fixed part lets small files be rich.
class WorkLimit {
  public:
    static constexpr std::uint64_t kPerByte = 64;
    static constexpr std::uint64_t kFixed = std::uint64_t{64} << 20;

    explicit WorkLimit(std::uint64_t fileSize) : left_(fileSize * kPerByte + kFixed) {}

    /// False when the limit is reached, now and from then on.
    bool spend(std::uint64_t work) {
        left_ = work <= left_ ? left_ - work : 0;
        return left_ > 0;
    }
    bool isExhausted() const { return left_ == 0; }

  private:
    std::uint64_t left_;
};
