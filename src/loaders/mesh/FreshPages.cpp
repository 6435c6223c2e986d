#include "loaders/mesh/FreshPages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace ornolith {

void provideFreshPages(void* piece, std::size_t pieceSize, void* memory, std::size_t byteCount) noexcept {
#ifdef MADV_POPULATE_WRITE
  constexpr std::size_t worthIt = std::size_t{64} << 20;
  if (pieceSize <= worthIt || byteCount == 0) return;
  const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto pieceBegin = reinterpret_cast<std::uintptr_t>(piece);
  const std::uintptr_t firstOwn = (pieceBegin + pageSize - 1) / pageSize * pageSize;
  const std::uintptr_t endOfOwn = (pieceBegin + pieceSize) / pageSize * pageSize;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = std::max(begin / pageSize * pageSize, firstOwn);
  const std::uintptr_t end = std::min((begin + byteCount + pageSize - 1) / pageSize * pageSize, endOfOwn);
  // What fails here is provided when it is touched.
  if (first < end) {
    ::madvise(static_cast<std::byte*>(piece) + (first - pieceBegin), end - first, MADV_POPULATE_WRITE);
  }
#else
  static_cast<void>(piece), static_cast<void>(pieceSize), static_cast<void>(memory), static_cast<void>(byteCount);
#endif
}

}  // namespace ornolith
