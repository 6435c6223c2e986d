#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "foundation/LargeVector.h"
#include "loaders/mesh/FreshPages.h"

namespace ornolith {
namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20;

/// How many of the whole pages between two addresses the system has provided.
std::size_t providedPages(const std::byte* begin, const std::byte* end) {
  const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const std::size_t before = (pageSize - reinterpret_cast<std::uintptr_t>(begin) % pageSize) % pageSize;
  std::vector<unsigned char> areThere((static_cast<std::size_t>(end - begin) - before) / pageSize);
  EXPECT_EQ(::mincore(const_cast<std::byte*>(begin + before), areThere.size() * pageSize, areThere.data()), 0);
  return static_cast<std::size_t>(
      std::count_if(areThere.begin(), areThere.end(), [](unsigned char state) { return (state & 1U) != 0; }));
}

#ifdef MADV_POPULATE_WRITE
bool systemProvidesPages() {
  const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* const page = ::mmap(nullptr, pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  const bool does = ::madvise(page, pageSize, MADV_POPULATE_WRITE) == 0;
  ::munmap(page, pageSize);
  return does;
}
#else
bool systemProvidesPages() {
  return false;
}
#endif

TEST(FreshPages, AreProvidedWhereALargePieceIsWrittenAndNowhereElse) {
  if (!systemProvidesPages()) GTEST_SKIP() << "The system cannot.";
  LargeVector<std::byte> piece(96 * megabyte);
  std::byte* const data = piece.data();
  provideFreshPages(data, piece.size(), data, megabyte);
  provideFreshPages(data, piece.size(), data + 95 * megabyte, megabyte);
  const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  EXPECT_GE(providedPages(data, data + megabyte), megabyte / pageSize - 1);
  EXPECT_GE(providedPages(data + 95 * megabyte, data + 96 * megabyte), megabyte / pageSize - 1);
  EXPECT_LE(providedPages(data + megabyte, data + 95 * megabyte), 2U);
}

TEST(FreshPages, AreLeftToTheSystemInSmallerPieces) {
  if (!systemProvidesPages()) GTEST_SKIP() << "The system cannot.";
  constexpr std::size_t size = 2 * megabyte;
  void* const piece = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(piece, MAP_FAILED);
  provideFreshPages(piece, size, piece, size);
  EXPECT_EQ(providedPages(static_cast<std::byte*>(piece), static_cast<std::byte*>(piece) + size), 0U);
  ::munmap(piece, size);
}

}  // namespace
}  // namespace ornolith
