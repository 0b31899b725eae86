#include "foundation/progress.h"

#include <ostream>

#include "foundation/platform.h"

namespace terrain {

namespace {
constexpr std::string_view kEmptyLine = "\r                                        \r";
}

ProgressLine::~ProgressLine() {
  if (shown_) *platform::console().errors << kEmptyLine << std::flush;
}

void ProgressLine::advance() {
  const std::scoped_lock lock(mutex_);
  ++done_;
  const auto now = Clock::now();
  if (now - told_ < std::chrono::seconds(1) || done_ > parts_ || !platform::errorsAreOnTerminal()) return;
  told_ = now;
  shown_ = true;
  const double passed = std::chrono::duration<double>(now - begun_).count();
  const double left = passed * static_cast<double>(parts_ - done_) / static_cast<double>(done_);
  *platform::console().errors << kEmptyLine << ' ' << 100 * done_ / parts_ << " percent, "
                              << static_cast<std::int64_t>(left) << " s left" << std::flush;
}

}  // namespace terrain
