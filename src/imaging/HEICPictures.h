#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace ornolith {

/// The pixels of the largest coded picture that a HEIC file's parameter sets declare (ISO/IEC 23008-12 on top of
/// ISO/IEC 14496-12 and 14496-15; ITU-T H.265, 7.3.2.2). A decoder makes whole coded pictures, whatever size the file
/// gives its images, and as many as an item holds. So nothing where some coded item holds more than one picture or
/// parameter sets of its own, which such items must not, where items repeat more bytes than the file has, where tiles
/// are themselves put together, where pictures lie over one another or are of another coder, and where the file's
/// structure does not tell. Takes time in proportion to the file.
std::optional<std::uint64_t> largestHEICPicture(std::span<const std::byte> data) noexcept;

}  // namespace ornolith
