#pragma once
// The status convention: 0 is success, -1 failure. An operation that can fail stores -1 when it
// starts and 0 at its successful end, so a caller tests the status right after the call.

#include <cstdint>

namespace terrain {

inline constexpr int kSuccess = 0;
inline constexpr int kFailure = -1;

/// One attempt at an operation. Sets the status to -1 at once, and when the attempt ends to 0 if it
/// succeeded, else to -1, whatever inner operations on the same object left there. Where two objects
/// carry the status of one operation (an elevation model and the grid that it loads) both are set.
class [[nodiscard]] Attempt {
 public:
  explicit Attempt(int32_t& status) : Attempt(status, status) {}
  Attempt(int32_t& status, int32_t& other) : status_(status), other_(other) { set(kFailure); }
  ~Attempt() { set(result_); }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;
  int succeed() { return end(kSuccess); }
  /// Ends with a result, 0 or -1, and hands it back: `return attempt.end(inner(...));`
  int end(int result) { return result_ = result == kSuccess ? kSuccess : kFailure; }

 private:
  void set(int result) { status_ = other_ = result; }
  int32_t& status_;
  int32_t& other_;
  int result_ = kFailure;
};

}  // namespace terrain
