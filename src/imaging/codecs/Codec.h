#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "imaging/CodecModule.h"
#include "imaging/Color.h"
#include "imaging/Image.h"
#include "imaging/ImageSize.h"

namespace ornolith {

/// The body of a module's entry: `decode` of the data, where any exception but one for lack of memory is damage.
template <typename Decode>
bool runCodec(const std::byte* data, std::size_t byteCount, ImageSize size, Image& image, Decode decode) {
  try {
    std::optional<Image> result = decode(std::span<const std::byte>(data, byteCount), size);
    if (!result) return false;
    image = std::move(*result);
    return true;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    return false;
  }
}

/// Defines the entry that `CodecModule.h` looks for.
#define ORNOLITH_DEFINE_CODEC(decode)                                                                   \
  extern "C" __attribute__((visibility("default"))) bool ornolithDecodeImage(                           \
      const std::byte* data, std::size_t byteCount, ornolith::ImageSize size, ornolith::Image& image) { \
    return ornolith::runCodec(data, byteCount, size, image, decode);                                    \
  }

/// Writes one pixel of linear light with colour that is multiplied by alpha, as sRGB with straight alpha. Where alpha
/// is zero, colour stays as it is.
inline void writeLinearPixel(std::uint8_t* out, float red, float green, float blue, float alpha,
                             bool isPremultiplied = true) noexcept {
  const float divisor = isPremultiplied && alpha > 0 ? alpha : 1.0F;
  out[0] = sRGB8FromLinear(red / divisor);
  out[1] = sRGB8FromLinear(green / divisor);
  out[2] = sRGB8FromLinear(blue / divisor);
  const float clamped = alpha > 0 ? (alpha < 1 ? alpha : 1.0F) : 0.0F;  // NaN too is nothing.
  out[3] = static_cast<std::uint8_t>(clamped * 255.0F + 0.5F);  // NOLINT(bugprone-incorrect-roundings): 0 to 1 alone
}

/// `color` divided by `alpha`, rounded, for samples of 0 to `maximum`.
constexpr unsigned straightSample(unsigned color, unsigned alpha, unsigned maximum) noexcept {
  if (alpha == 0) return color;
  const std::uint64_t value = (std::uint64_t{color} * maximum + alpha / 2) / alpha;
  return value < maximum ? static_cast<unsigned>(value) : maximum;
}

}  // namespace ornolith
