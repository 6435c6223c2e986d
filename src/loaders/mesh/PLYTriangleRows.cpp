#include "loaders/mesh/PLYTriangleRows.h"

#include <algorithm>
#include <array>

// This file is compiled once for each instruction set; the rest of the program sees the function at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loaders/mesh/PLYTriangleRows.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::byte triangle{3};
constexpr std::size_t prefetchDistance = 1024;  // The processor itself looks no further than a page.

/// Copies row by row, and gives the highest index; nothing fits it where a row is no triangle's.
template <PLYByteOrder order>
std::size_t copyEach(const std::byte* rows, std::size_t count, std::uint32_t* corners) {
  std::uint32_t highest = 0;
  bool areTriangles = true;
  for (std::size_t row = 0; row < count; ++row, rows += plyTriangleRowSize, corners += 3) {
    areTriangles &= rows[0] == triangle;
    for (std::size_t i = 0; i < 3; ++i) {
      corners[i] = valueAt<std::uint32_t, order>(rows + 1 + i * sizeof(std::uint32_t));
      highest = std::max(highest, corners[i]);
    }
  }
  return areTriangles ? highest : SIZE_MAX;
}

#if HWY_TARGET != HWY_SCALAR
/// The same, where behind the last of the rows another one follows: what is read beyond a row is the next one's count,
/// and what is written beyond it is written again.
std::size_t copyAllButLast(const std::byte* rows, std::size_t count, std::uint32_t* corners) {
  const hn::CappedTag<std::uint32_t, 4> tag;
  if (count > 0 && rows[0] != triangle) return SIZE_MAX;
  const std::byte* next = rows + 1;
  auto highest = hn::Zero(tag);
  auto differences = hn::Zero(tag);
  const auto wantedCount = hn::Set(tag, std::to_integer<std::uint32_t>(triangle));
  for (std::size_t row = 0; row < count; ++row, next += plyTriangleRowSize) {
    __builtin_prefetch(next + prefetchDistance);
    const auto indices =
        hn::BitCast(tag, hn::LoadU(hn::CappedTag<std::uint8_t, 16>(), reinterpret_cast<const std::uint8_t*>(next)));
    highest = hn::Max(highest, indices);
    differences = hn::Or(differences, hn::Xor(indices, wantedCount));
    hn::StoreU(indices, tag, corners + row * 3);
  }
  alignas(16) std::array<std::uint32_t, 4> most{};
  alignas(16) std::array<std::uint32_t, 4> different{};
  hn::Store(highest, tag, most.data());
  hn::Store(differences, tag, different.data());
  return (different[3] & 0xFFU) == 0 ? std::max({most[0], most[1], most[2]}) : SIZE_MAX;
}
#endif

bool copyRows(const std::byte* rows, std::size_t count, PLYByteOrder order, std::size_t vertexCount,
              std::uint32_t* corners) {
  if (order == PLYByteOrder::swapped) return copyEach<PLYByteOrder::swapped>(rows, count, corners) < vertexCount;
  std::size_t copied = 0;
#if HWY_TARGET != HWY_SCALAR
  copied = std::max<std::size_t>(count, 1) - 1;
  if (copied > 0 && copyAllButLast(rows, copied, corners) >= vertexCount) return false;
#endif
  const std::byte* const left = rows + copied * plyTriangleRowSize;
  return copyEach<PLYByteOrder::native>(left, count - copied, corners + copied * 3) < vertexCount;
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith {

namespace {

HWY_EXPORT(copyRows);

}  // namespace

bool copyPLYTriangleRows(const std::byte* rows, std::size_t count, PLYByteOrder order, std::size_t vertexCount,
                         std::uint32_t* corners) {
  return HWY_DYNAMIC_DISPATCH(copyRows)(rows, count, order, vertexCount, corners);
}

}  // namespace ornolith
#endif
