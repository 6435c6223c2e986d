#pragma once

#include <cstddef>
#include <vector>

#include "imaging/Image.h"

namespace ornolith {

/// PNG bytes of `image`: 8-bit RGBA, not interlaced, with the chunks IHDR, IDAT and IEND alone. The same image gives
/// the same bytes on every machine, however many threads take part. `image` must not be empty.
std::vector<std::byte> encodePNG(const Image& image);

}  // namespace ornolith
