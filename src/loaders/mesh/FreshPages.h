#pragma once

#include <cstddef>

namespace ornolith {

/// Has the system provide the memory that is about to be written for the first time: all at once costs less than page
/// by page as it is touched. Only of pieces so large that they are not in the system's large pages (LargeVector.h),
/// which are provided so anyway: `piece` is the whole one, `memory` and `byteCount` what of it is written now. Does
/// nothing on systems that cannot.
void provideFreshPages(void* piece, std::size_t pieceSize, void* memory, std::size_t byteCount) noexcept;

}  // namespace ornolith
