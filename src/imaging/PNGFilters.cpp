#include "imaging/PNGFilters.h"

#include <cstdlib>
#include <cstring>

namespace ornolith {

namespace {

using Bytes4 = std::uint8_t __attribute__((vector_size(4)));
using Words4 = std::int16_t __attribute__((vector_size(8)));

/// The channels of up to four bytes side by side. `Count` of them are stored; four are read.
template <std::size_t Count>
struct Pixel {
  static Words4 load(const std::uint8_t* bytes) noexcept {
    Bytes4 packed;
    std::memcpy(&packed, bytes, 4);
    return __builtin_convertvector(packed, Words4);
  }
  static void store(std::uint8_t* bytes, Words4 value) noexcept {
    const Bytes4 packed = __builtin_convertvector(value, Bytes4);
    std::memcpy(bytes, &packed, Count);
  }
};

Words4 absolute(Words4 value) noexcept {
  return value < 0 ? -value : value;
}

Words4 paethPredictor(Words4 left, Words4 above, Words4 aboveLeft) noexcept {
  const Words4 fromLeft = above - aboveLeft;
  const Words4 fromAbove = left - aboveLeft;
  const Words4 leftDistance = absolute(fromLeft);
  const Words4 aboveDistance = absolute(fromAbove);
  const Words4 aboveLeftDistance = absolute(fromLeft + fromAbove);
  const Words4 second = aboveDistance <= aboveLeftDistance ? above : aboveLeft;
  return ((leftDistance <= aboveDistance) & (leftDistance <= aboveLeftDistance)) ? left : second;
}

// The three filters that need the pixel on the left, for pixels of three or four bytes. The last pixel of three reads
// one byte behind the row, whose value plays no part.

template <std::size_t Count>
void undoSub(std::uint8_t* row, std::size_t count) noexcept {
  Words4 left{};
  for (std::size_t i = 0; i < count; i += Count) {
    left = (Pixel<Count>::load(row + i) + left) & 255;
    Pixel<Count>::store(row + i, left);
  }
}

template <std::size_t Count>
void undoAverage(std::uint8_t* row, const std::uint8_t* above, std::size_t count) noexcept {
  Words4 left{};
  for (std::size_t i = 0; i < count; i += Count) {
    left = (Pixel<Count>::load(row + i) + ((left + Pixel<Count>::load(above + i)) >> 1)) & 255;
    Pixel<Count>::store(row + i, left);
  }
}

template <std::size_t Count>
void undoPaeth(std::uint8_t* row, const std::uint8_t* above, std::size_t count) noexcept {
  Words4 left{};
  Words4 aboveLeft{};
  for (std::size_t i = 0; i < count; i += Count) {
    const Words4 over = Pixel<Count>::load(above + i);
    left = (Pixel<Count>::load(row + i) + paethPredictor(left, over, aboveLeft)) & 255;
    aboveLeft = over;
    Pixel<Count>::store(row + i, left);
  }
}

// The same for any pixel size and for rows without one above, which counts as zeros.

std::uint8_t paethPredictor(int left, int above, int aboveLeft) noexcept {
  const int leftDistance = std::abs(above - aboveLeft);
  const int aboveDistance = std::abs(left - aboveLeft);
  const int aboveLeftDistance = std::abs(left + above - 2 * aboveLeft);
  if (leftDistance <= aboveDistance && leftDistance <= aboveLeftDistance) return static_cast<std::uint8_t>(left);
  return static_cast<std::uint8_t>(aboveDistance <= aboveLeftDistance ? above : aboveLeft);
}

template <typename Predictor>
void undoByBytes(std::uint8_t* row, const std::uint8_t* above, std::size_t count, std::size_t pixelBytes,
                 Predictor predictor) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const int left = i < pixelBytes ? 0 : row[i - pixelBytes];
    const int over = above == nullptr ? 0 : above[i];
    const int overLeft = above == nullptr || i < pixelBytes ? 0 : above[i - pixelBytes];
    row[i] = static_cast<std::uint8_t>(row[i] + predictor(left, over, overLeft));
  }
}

void undoUp(std::uint8_t* row, const std::uint8_t* above, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) row[i] = static_cast<std::uint8_t>(row[i] + above[i]);
}

template <std::size_t Count>
void undoByPixels(std::uint8_t filter, std::uint8_t* row, const std::uint8_t* above, std::size_t count) noexcept {
  if (filter == 1) undoSub<Count>(row, count);
  if (filter == 3) undoAverage<Count>(row, above, count);
  if (filter == 4) undoPaeth<Count>(row, above, count);
}

}  // namespace

bool undoPNGFilter(std::uint8_t filter, std::uint8_t* row, const std::uint8_t* above, std::size_t count,
                   std::size_t pixelBytes) noexcept {
  if (filter > 4) return false;
  if (filter == 0) return true;
  if (filter == 2) {
    if (above != nullptr) undoUp(row, above, count);
    return true;
  }
  if (above != nullptr && (pixelBytes == 3 || pixelBytes == 4)) {
    pixelBytes == 3 ? undoByPixels<3>(filter, row, above, count) : undoByPixels<4>(filter, row, above, count);
  } else if (filter == 1) {
    undoByBytes(row, above, count, pixelBytes, [](int left, int, int) { return left; });
  } else if (filter == 3) {
    undoByBytes(row, above, count, pixelBytes, [](int left, int over, int) { return (left + over) / 2; });
  } else {
    undoByBytes(row, above, count, pixelBytes,
                [](int left, int over, int overLeft) { return paethPredictor(left, over, overLeft); });
  }
  return true;
}

}  // namespace ornolith
