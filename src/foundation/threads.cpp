#include "foundation/threads.h"

#ifdef _OPENMP
#include <omp.h>
#endif

#include <algorithm>
#include <atomic>
#include <exception>

#include "foundation/memory.h"
#include "foundation/status.h"

namespace terrain {

int32_t threadCount() {
#ifdef _OPENMP
  return std::max(omp_get_max_threads(), 1);
#else
  return 1;
#endif
}

void useThreads([[maybe_unused]] int32_t count) {
#ifdef _OPENMP
  omp_set_num_threads(std::clamp(count, 1, 256));
#endif
}

int forEachPart(int32_t count, [[maybe_unused]] int32_t threads, const std::function<int(int32_t)>& work) {
  std::atomic<bool> failed = false;
  std::exception_ptr thrown;
  const auto take = [&](int32_t part) {
    if (failed) return;
    try {
      if (work(part) != kSuccess) failed = true;
    } catch (...) {
      const auto lock = oneThreadAtATime();
      failed = true;
      thrown = std::current_exception();
    }
  };
  int32_t team = 1;
#ifdef _OPENMP
  // A thread that cannot be started would end the process.
  constexpr std::uint64_t kStack = std::uint64_t{16} << 20U;
  team = std::clamp(threads, 1, std::max(count, 1));
  while (team > 1 && !machineHas(kStack * static_cast<std::uint64_t>(team))) --team;
#endif
  if (team == 1) {
    for (int32_t part = 0; part < count; ++part) take(part);
  } else {
#ifdef _OPENMP
#pragma omp parallel for schedule(dynamic, 1) num_threads(team)
    for (int32_t part = 0; part < count; ++part) take(part);
#endif
  }
  if (thrown) std::rethrow_exception(thrown);
  return failed ? kFailure : kSuccess;
}

int forEachStretch(int32_t rows, bool parallel, const std::function<int(int32_t first, int32_t last)>& work) {
  constexpr int32_t kFewestRows = 32;  // a stretch has its own preparations
  const int32_t threads = parallel ? threadCount() : 1;
  const std::int64_t parts = threads > 1 ? std::clamp(rows / kFewestRows, 1, 4 * threads) : 1;
  return forEachPart(static_cast<int32_t>(parts), threads, [&](int32_t part) {
    return work(static_cast<int32_t>(part * std::int64_t{rows} / parts) + 1,
                static_cast<int32_t>((part + 1) * std::int64_t{rows} / parts));
  });
}

std::unique_lock<std::recursive_mutex> oneThreadAtATime() {
  static std::recursive_mutex shared;
  return std::unique_lock(shared);
}

}  // namespace terrain
