#pragma once
// The status convention: 0 is success, -1 failure. An operation that can fail stores -1 when it
// starts and 0 at its successful end, so a caller tests the status right after the call.

#include <cstdint>

namespace terrain {

inline constexpr int kSuccess = 0;
inline constexpr int kFailure = -1;

/// One attempt at an operation. Sets `status` to -1 at once and settles it when the attempt ends:
/// 0 if `succeed` was called, else -1, whatever inner operations on the same object left there.
class [[nodiscard]] Attempt {
 public:
  explicit Attempt(int32_t& status) : status_(status) { status_ = kFailure; }
  ~Attempt() { status_ = done_ ? kSuccess : kFailure; }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;
  int succeed() {
    done_ = true;
    return kSuccess;
  }

 private:
  int32_t& status_;
  bool done_ = false;
};

}  // namespace terrain
