#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/FileURL.h"
#include "foundation/JSONCoding.h"
#include "imaging/Image.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

enum class PhotoCaptureMode { photo, video };

template <>
inline constexpr auto rawValueTable<PhotoCaptureMode> = std::to_array<RawValueEntry<PhotoCaptureMode>>(
    {{PhotoCaptureMode::photo, "photo"}, {PhotoCaptureMode::video, "video"}});

enum class PhotoFilter { original, blur, vignette, monochrome, warm, cool };

template <>
inline constexpr auto rawValueTable<PhotoFilter> =
    std::to_array<RawValueEntry<PhotoFilter>>({{PhotoFilter::original, "original"},
                                               {PhotoFilter::blur, "blur"},
                                               {PhotoFilter::vignette, "vignette"},
                                               {PhotoFilter::monochrome, "monochrome"},
                                               {PhotoFilter::warm, "warm"},
                                               {PhotoFilter::cool, "cool"}});

/// The part of a view that a capture keeps, as fractions of the view.
struct PhotoCropRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  /// The keys are the field names, all required.
  static PhotoCropRect fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const PhotoCropRect&) const = default;
};

/// The settings of photo mode. The JSON keys are the field names; all are required but `backgroundImageURL`, a path.
struct PhotoModeOptions {
  PhotoCaptureMode captureMode = PhotoCaptureMode::photo;
  double lightIntensity = 1;  ///< Factor on the default lights; 0.2 to 2 has effect.
  std::optional<FileURL> backgroundImageURL;
  PhotoFilter backgroundFilter = PhotoFilter::original;
  PhotoFilter modelFilter = PhotoFilter::original;
  bool liveFiltersEnabled = false;
  PhotoCropRect cropRect{.x = 0.18, .y = 0.15, .width = 0.64, .height = 0.7};
  bool isCropEnabled = false;

  static PhotoModeOptions fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const PhotoModeOptions&) const = default;
};

/// What a video recording was started with.
struct PhotoVideoRecordingSettings {
  CGSize viewportSize;
  std::optional<PhotoCropRect> cropRect;
  std::shared_ptr<const Image> backgroundImage;
  PhotoFilter backgroundFilter = PhotoFilter::original;
  PhotoFilter modelFilter = PhotoFilter::original;
};

/// The encoder behind a recording, with the queue that it works on.
class PhotoVideoWriter {
 public:
  virtual ~PhotoVideoWriter() = default;
};

/// A video recording in progress, shared by identity.
struct PhotoVideoRecordingSession {
  FileURL outputURL;
  CGSize outputSize;
  std::shared_ptr<PhotoVideoWriter> writer;
  std::int32_t frameRate = 0;
  double startedAt = 0;  ///< Seconds.
  std::int64_t frameIndex = 0;
  std::int64_t droppedFrameCount = 0;
  bool isFinishing = false;
  std::shared_ptr<const Image> lastFrameImage;
  double lastPresentationTime = 0;  ///< Seconds.
};

}  // namespace ornolith
