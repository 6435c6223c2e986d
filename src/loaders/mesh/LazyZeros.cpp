#include "loaders/mesh/LazyZeros.h"

#include <sys/mman.h>

#include <algorithm>

namespace ornolith {

namespace {

std::size_t mappedSize(std::size_t byteCount) noexcept {
  return std::max<std::size_t>(byteCount, 1);
}

}  // namespace

void* allocateLazyZeros(std::size_t byteCount) {
  void* memory = ::mmap(nullptr, mappedSize(byteCount), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return memory;
}

void releaseLazyZeros(void* memory, std::size_t byteCount) noexcept {
  ::munmap(memory, mappedSize(byteCount));
}

}  // namespace ornolith
