#pragma once

#include <cstddef>
#include <functional>

namespace ornolith {

/// Calls `body(i)` once for each i below `count`, on the threads of the surrounding arena (all processors where there
/// is none), and returns when all calls have ended. Indices are handed out in runs of `grain`. Worker threads start at
/// the first use. `body` may itself call `parallelFor`. An exception from a call ends the loop and is thrown here.
void parallelFor(std::size_t count, std::size_t grain, const std::function<void(std::size_t index)>& body);

/// Runs `body` so that every `parallelFor` inside uses at most `threadCount` threads, the calling one included.
void withThreadLimit(std::size_t threadCount, const std::function<void()>& body);

/// How many threads a `parallelFor` would use here, at least 1.
std::size_t availableThreadCount();

}  // namespace ornolith
