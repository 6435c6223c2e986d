#pragma once

#include <cstddef>
#include <vector>

namespace ornolith {

/// Turns one complete DEFLATE stream (RFC 1951) into a part that another stream can follow: the last block loses its
/// final mark, and an empty stored block brings the end to a byte boundary, so that parts compressed independently join
/// by laying their bytes one after the other. Costs five bytes at most and one walk over the symbols.
///
/// `stream` must come from a compressor of this process. Throws `std::logic_error` where it is not well formed or does
/// not end with its last byte.
void openDeflateStream(std::vector<std::byte>& stream);

}  // namespace ornolith
