#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ornolith {

enum class PLYFormat { ascii, binaryLittleEndian, binaryBigEndian };
enum class PLYType { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

/// Bytes that a value takes in a binary file.
std::size_t sizeOf(PLYType type) noexcept;

struct PLYProperty {
  std::string name;
  PLYType type = PLYType::float32;
  std::optional<PLYType> countType;  ///< Of a list's count; nothing for a single value.
};

struct PLYElement {
  std::string name;
  std::uint64_t count = 0;
  std::vector<PLYProperty> properties;
};

struct PLYHeader {
  PLYFormat format = PLYFormat::ascii;
  std::vector<PLYElement> elements;
  std::vector<std::string> textureFiles;  ///< As the comments "TextureFile" name them.
  std::size_t size = 0;                   ///< Bytes up to the first row.
};

/// Reads a PLY file's header. The rows that it claims fit into the rest of the file by the fewest bytes that each can
/// take. Throws `MeshReadError`.
PLYHeader readPLYHeader(std::span<const std::byte> bytes);

}  // namespace ornolith
