#include "foundation/Parallel.h"

#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>

namespace ornolith {

void parallelFor(std::size_t count, std::size_t grain, const std::function<void(std::size_t index)>& body) {
  if (count <= grain) {
    for (std::size_t i = 0; i < count; ++i) body(i);
    return;
  }
  tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, std::max<std::size_t>(grain, 1)),
                    [&](const tbb::blocked_range<std::size_t>& range) {
                      for (std::size_t i = range.begin(); i != range.end(); ++i) body(i);
                    });
}

void withThreadLimit(std::size_t threadCount, const std::function<void()>& body) {
  const std::size_t threads = std::max<std::size_t>(threadCount, 1);
  // Without this the library starts no more workers than the machine has processors, and says so on standard error.
  const tbb::global_control control(tbb::global_control::max_allowed_parallelism, threads);
  tbb::task_arena arena(static_cast<int>(threads));
  arena.execute(body);
}

std::size_t availableThreadCount() {
  return static_cast<std::size_t>(std::max(tbb::this_task_arena::max_concurrency(), 1));
}

}  // namespace ornolith
