#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "contracts/CameraState.h"
#include "foundation/Error.h"
#include "foundation/RawValue.h"

namespace ornolith {

namespace camera_preset_document_error {
struct PayloadTooLarge {
  std::int64_t maximumByteCount = 0;
  bool operator==(const PayloadTooLarge&) const = default;
};
struct InvalidSchema {
  std::string found;
  bool operator==(const InvalidSchema&) const = default;
};
struct UnsupportedVersion {
  std::int64_t found = 0;
  bool operator==(const UnsupportedVersion&) const = default;
};
struct UnsupportedCoordinateSpace {
  std::string found;
  bool operator==(const UnsupportedCoordinateSpace&) const = default;
};
struct InvalidName {
  bool operator==(const InvalidName&) const = default;
};
struct NonFiniteCameraValue {
  bool operator==(const NonFiniteCameraValue&) const = default;
};
struct InvalidFieldOfView {
  bool operator==(const InvalidFieldOfView&) const = default;
};
struct CoincidentPositionAndTarget {
  bool operator==(const CoincidentPositionAndTarget&) const = default;
};
}  // namespace camera_preset_document_error

/// A camera preset that breaks one of its rules.
class CameraPresetDocumentError final
    : public TypedError<CameraPresetDocumentError, camera_preset_document_error::PayloadTooLarge,
                        camera_preset_document_error::InvalidSchema, camera_preset_document_error::UnsupportedVersion,
                        camera_preset_document_error::UnsupportedCoordinateSpace,
                        camera_preset_document_error::InvalidName, camera_preset_document_error::NonFiniteCameraValue,
                        camera_preset_document_error::InvalidFieldOfView,
                        camera_preset_document_error::CoincidentPositionAndTarget> {
 public:
  using TypedError::TypedError;
  static std::string describe(const camera_preset_document_error::PayloadTooLarge& error);
  static std::string describe(const camera_preset_document_error::InvalidSchema& error);
  static std::string describe(const camera_preset_document_error::UnsupportedVersion& error);
  static std::string describe(const camera_preset_document_error::UnsupportedCoordinateSpace& error);
  static std::string describe(const camera_preset_document_error::InvalidName& error);
  static std::string describe(const camera_preset_document_error::NonFiniteCameraValue& error);
  static std::string describe(const camera_preset_document_error::InvalidFieldOfView& error);
  static std::string describe(const camera_preset_document_error::CoincidentPositionAndTarget& error);
};

/// What the values of a preset are relative to.
enum class CameraPresetCoordinateSpace { scene };

template <>
inline constexpr auto rawValueTable<CameraPresetCoordinateSpace> =
    std::to_array<RawValueEntry<CameraPresetCoordinateSpace>>({{CameraPresetCoordinateSpace::scene, "scene"}});

/// The file given to `--camera-preset`: a named camera. Equality of names is canonical equivalence.
struct CameraPresetDocument {
  static constexpr std::string_view schemaText = "ornolith-camera-preset";
  static constexpr std::int64_t currentVersion = 1;
  static constexpr std::int64_t maximumByteCount = 65'536;
  static constexpr std::size_t maximumNameLength = 80;  ///< Characters that a reader sees.

  std::string schema{schemaText};
  std::int64_t version = currentVersion;
  std::string name;  ///< 1 to 80 characters without white space at its ends.
  CameraPresetCoordinateSpace coordinateSpace = CameraPresetCoordinateSpace::scene;
  CameraState camera;

  /// A document that passes `validate`, its name trimmed. Throws `CameraPresetDocumentError`, or `JSONError` where the
  /// text is no JSON of this form.
  static CameraPresetDocument decode(std::span<const std::byte> data);

  /// Checks every rule in order and throws `CameraPresetDocumentError` at the first that is broken.
  void validate() const;

  static CameraPresetDocument fromJSON(const JSONElement& element);
  /// Runs `validate` first and throws what it throws.
  JSONValue toJSON() const;

  friend bool operator==(const CameraPresetDocument& left, const CameraPresetDocument& right);
};

}  // namespace ornolith
