#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "imaging/EncodedImage.h"
#include "imaging/Image.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// An image that a material property shows.
struct LoadedTexture {
  std::shared_ptr<const Image> image;  ///< Null where the contents could not be decoded.
  bool hasTransparency = false;        ///< Some pixel's alpha is below 255.
};

/// What a property does with an image.
enum class TextureUse {
  colorOrData,  ///< The image as it is.
  opacity,      ///< The alpha counts; an image that is opaque throughout gets its luminance as alpha.
};

/// The images of material properties, kept from frame to frame: one per path however many properties name it, and what
/// was found about images given directly. A path that did not decode is not tried again. What encoded images and files
/// may become in memory, all together, is in proportion to their size; those beyond count as not decodable.
class TextureCache {
 public:
  /// What any set of images may become, and what each byte of them may add.
  static constexpr std::uint64_t decodedBytesWithoutEvidence = std::uint64_t{1} << 30;
  static constexpr std::uint64_t decodedBytesPerByte = 128;

  /// Notes that a frame needs `contents`, which holds an image.
  void request(const SCNMaterialContents& contents, TextureUse use);

  /// Decodes and inspects in parallel whatever was requested and is not there yet. The order of the requests decides
  /// what is within the limit.
  void load();

  /// The texture of contents that were requested before the last `load`; its image is null where there is none to show.
  LoadedTexture texture(const SCNMaterialContents& contents, TextureUse use) const;

 private:
  struct Entry {
    std::shared_ptr<const Image> given;           ///< The image itself, or null for one to be decoded
    std::shared_ptr<const EncodedImage> encoded;  ///< from its bytes, or where these are null too
    std::string path;                             ///< from the file.
    bool isRequested = false;
    bool isLoaded = false;
    LoadedTexture plain;
    bool needsOpacity = false;
    std::optional<LoadedTexture> opacity;
  };
  static void loadEntry(Entry& entry);
  Entry* find(const SCNMaterialContents& contents);
  const Entry* known(const SCNMaterialContents& contents) const;
  void holdToLimit(Entry& entry);
  static void makeOpacity(Entry& entry);

  std::map<std::string, Entry, std::less<>> byPath_;
  std::unordered_map<const Image*, Entry> byImage_;
  std::unordered_map<const EncodedImage*, Entry> byEncodedImage_;
  std::vector<Entry*> requested_;
  std::uint64_t decodedBytes_ = 0;
  std::uint64_t allowedBytes_ = decodedBytesWithoutEvidence;
};

}  // namespace ornolith
