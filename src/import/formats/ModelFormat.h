#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/RawValue.h"

namespace ornolith {

/// The input formats, a closed list. The raw value is the lower-case file extension.
enum class ModelFormat { fbx, obj, dae, scn, usd, usda, usdc, usdz, gltf, glb, stl, ply };

template <>
inline constexpr auto rawValueTable<ModelFormat> = std::to_array<RawValueEntry<ModelFormat>>({
    {ModelFormat::fbx, "fbx"},
    {ModelFormat::obj, "obj"},
    {ModelFormat::dae, "dae"},
    {ModelFormat::scn, "scn"},
    {ModelFormat::usd, "usd"},
    {ModelFormat::usda, "usda"},
    {ModelFormat::usdc, "usdc"},
    {ModelFormat::usdz, "usdz"},
    {ModelFormat::gltf, "gltf"},
    {ModelFormat::glb, "glb"},
    {ModelFormat::stl, "stl"},
    {ModelFormat::ply, "ply"},
});

/// The twelve formats in their fixed order.
inline constexpr auto allModelFormats = [] {
  std::array<ModelFormat, rawValueTable<ModelFormat>.size()> formats{};
  for (std::size_t i = 0; i < formats.size(); ++i) formats[i] = rawValueTable<ModelFormat>[i].value;
  return formats;
}();

/// The format with exactly this raw value, case-sensitive: "FBX" is none, callers lower-case an extension first.
constexpr std::optional<ModelFormat> modelFormat(std::string_view rawValueText) noexcept {
  return fromRawValue<ModelFormat>(rawValueText);
}

/// The raw value, which is the extension of the format's files; it is the format's identity in lists too.
constexpr std::string_view fileExtension(ModelFormat format) noexcept {
  return rawValue(format);
}

/// The raw value in capitals, as messages show it: "FBX".
std::string uppercasedRawValue(ModelFormat format);

/// "FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, GLTF, GLB, STL, PLY".
std::string supportedFileListDescription();

}  // namespace ornolith
