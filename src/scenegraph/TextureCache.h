#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "imaging/DistinctBytes.h"
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
/// may become in memory, all together, with their mip levels and with the copies made of images for their opacity, is
/// in proportion to their size. Headers alone decide: those beyond are not decoded, and an image in which damage is
/// found later counts like one without.
class TextureCache {
 public:
  /// What any set of images may become, and what each byte of them may add.
  static constexpr std::uint64_t heldBytesWithoutEvidence = std::uint64_t{1} << 29;
  static constexpr std::uint64_t heldBytesPerByte = 128;

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
    std::vector<std::byte> file;  ///< Only while `load` is at it.
    LoadedTexture plain;
    bool needsOpacity = false;
    std::optional<LoadedTexture> opacity;
  };
  /// What may be held and what is.
  struct Limit {
    std::uint64_t held = 0;
    std::uint64_t allowed = heldBytesWithoutEvidence;

    /// Takes `bytes`, or takes nothing and answers false where less is left.
    bool take(std::uint64_t bytes) noexcept {
      if (bytes > allowed - held) return false;
      held += bytes;
      return true;
    }
  };

  static void readEntry(Entry& entry);
  static std::span<const std::byte> bytesOf(const Entry& entry) noexcept;
  static void decodeEntry(Entry& entry);
  Entry* find(const SCNMaterialContents& contents);
  const Entry* known(const SCNMaterialContents& contents) const;
  std::uint64_t vouchedBytes(const Entry& entry);
  bool admits(const Entry& entry);
  bool needsOpacityCopy(Entry& entry);

  std::map<std::string, Entry, std::less<>> byPath_;
  std::unordered_map<const Image*, Entry> byImage_;
  std::unordered_map<const EncodedImage*, Entry> byEncodedImage_;
  std::vector<Entry*> requested_;
  Limit limit_;
  DistinctBytes vouching_;  ///< Of encoded images, which the entries keep in memory.
};

}  // namespace ornolith
