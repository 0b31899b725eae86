#pragma once
// Work that is done on several cores at once: parts that do not depend on each other. The parts are the same
// for any number of threads, and so are the results.

#include <cstdint>
#include <functional>
#include <mutex>

namespace terrain {

/// How many threads work at once: all cores, unless `useThreads` or the variable OMP_NUM_THREADS says
/// otherwise; 1 where the library is built without OpenMP.
[[nodiscard]] int32_t threadCount();

/// Sets that number for the rest of the run, from 1 to 256.
void useThreads(int32_t count);

/// Calls work(part) for parts 0 to count - 1, each once, in this order as threads become free, on at most
/// `threads` threads. After a part that does not give 0 no further one is begun. 0, or -1 after such a part;
/// an exception of a part is passed on.
int forEachPart(int32_t count, int32_t threads, const std::function<int(int32_t)>& work);

/// Calls work(first, last) for stretches that make up the rows from 1 to `rows`: one, or with `parallel` some
/// for each thread, at once. 0, or -1 after a stretch that did not give 0.
int forEachStretch(int32_t rows, bool parallel, const std::function<int(int32_t first, int32_t last)>& work);

/// Held while a part of the work writes messages, or rows of grids that may be on disk: these are for one
/// thread at a time.
[[nodiscard]] std::unique_lock<std::recursive_mutex> oneThreadAtATime();

}  // namespace terrain
