#include "foundation/LargeVector.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace ornolith {

namespace {

constexpr std::size_t largePage = std::size_t{2} << 20;
constexpr std::size_t largePagesFrom = 2 * largePage;
// Of much more than that, the system is longer in finding enough large pages than they save: on a virtual machine whose
// host has to provide them, four times as long as small pages take.
constexpr std::size_t largePagesUpTo = 32 * largePage;

bool takesLargePages(std::size_t byteCount) noexcept {
  return byteCount >= largePagesFrom && byteCount <= largePagesUpTo;
}

}  // namespace

void* allocateLarge(std::size_t byteCount) {
  const bool isLarge = takesLargePages(byteCount);
  const std::size_t whole = isLarge ? (byteCount + largePage - 1) / largePage * largePage : byteCount;
  void* memory = isLarge ? std::aligned_alloc(largePage, whole) : std::malloc(byteCount > 0 ? byteCount : 1);
  if (memory == nullptr) throw std::bad_alloc();
  if (isLarge) ::madvise(memory, whole, MADV_HUGEPAGE);
  return memory;
}

void releaseLarge(void* memory) noexcept {
  std::free(memory);
}

void emptyLarge(void* memory, std::size_t byteCount) noexcept {
  // Pages that reach beyond the memory belong to others as well.
  const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* first = memory;
  std::size_t rest = byteCount;
  if (std::align(pageSize, pageSize, first, rest) == nullptr) return;
  ::madvise(first, rest / pageSize * pageSize, MADV_DONTNEED);
}

void preferLargePages(void* memory, std::size_t byteCount) noexcept {
  // Pages that reach beyond the memory belong to others as well.
  void* first = memory;
  std::size_t rest = byteCount;
  if (!takesLargePages(byteCount) || std::align(largePage, largePage, first, rest) == nullptr) return;
  ::madvise(first, rest / largePage * largePage, MADV_HUGEPAGE);
}

}  // namespace ornolith
