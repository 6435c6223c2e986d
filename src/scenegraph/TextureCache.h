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
/// may become in memory, all together and with their mip levels, is in proportion to their size; those beyond count as
/// not decodable, and where their headers tell their size they are not decoded to find that out.
class TextureCache {
 public:
  /// What any set of images may become, and what each byte of them may add.
  static constexpr std::uint64_t heldBytesWithoutEvidence = std::uint64_t{1} << 29;
  static constexpr std::uint64_t heldBytesPerByte = 128;
  /// What an image of so many bytes takes with its mip levels, which are a third of it.
  static constexpr std::uint64_t heldBytes(std::uint64_t decodedBytes) noexcept {
    return decodedBytes + decodedBytes / 3;
  }

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
    bool isDecoded = false;
    LoadedTexture plain;
    bool needsOpacity = false;
    std::optional<LoadedTexture> opacity;
  };
  /// What may be held and what is, after some images in their order.
  struct Limit {
    std::uint64_t held = 0;
    std::uint64_t allowed = heldBytesWithoutEvidence;

    bool fits(std::uint64_t bytes) const noexcept { return bytes <= allowed - held; }
  };

  static void readEntry(Entry& entry);
  static std::span<const std::byte> bytesOf(const Entry& entry) noexcept;
  static void decodeEntry(Entry& entry);
  Entry* find(const SCNMaterialContents& contents);
  const Entry* known(const SCNMaterialContents& contents) const;
  static bool admits(Limit& ahead, const Entry& entry);
  void settle(Entry& entry);
  static void makeOpacity(Entry& entry);

  std::map<std::string, Entry, std::less<>> byPath_;
  std::unordered_map<const Image*, Entry> byImage_;
  std::unordered_map<const EncodedImage*, Entry> byEncodedImage_;
  std::vector<Entry*> requested_;
  Limit limit_;
};

}  // namespace ornolith
