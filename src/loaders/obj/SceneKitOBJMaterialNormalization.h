#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileURL.h"
#include "loaders/obj/OBJResources.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Looks through the references of an OBJ file to material libraries, and of these to textures, before the model is
/// read, and refuses anything unsafe: nothing outside the allowed roots is opened, no link is followed. Afterwards puts
/// the vetted values on the loaded scene. All failures are `SceneKitOBJMaterialError`, and `SystemError` ("read").
struct SceneKitOBJMaterialNormalization {
  static constexpr std::size_t bytesPerRead = 65536;
  static constexpr std::size_t maximumLineByteCount = 1048576;
  static constexpr std::uint64_t maximumMaterialLibraryByteCount = 16777216;
  static constexpr std::size_t maximumMaterialLibraryCount = 64;

  enum class TextureChannel { diffuse, emission, normal, roughness, metalness };

  /// The vetted values of one material.
  struct MaterialDefinition {
    std::optional<std::array<double, 3>> emission;
    std::optional<FileURL> diffuseURL;
    std::optional<FileURL> emissionURL;
    std::optional<FileURL> normalURL;
    std::optional<FileURL> roughnessURL;
    std::optional<FileURL> metalnessURL;

    bool operator==(const MaterialDefinition&) const = default;
  };

  /// What `prepare` found.
  struct Prepared {
    std::map<std::string, MaterialDefinition, std::less<>> definitions;  ///< By the material's name.
    std::vector<FileURL> roots;      ///< The canonical folders that resources may stand below.
    std::vector<FileURL> libraries;  ///< The material libraries that stand, each once, in the order of reference.
  };

  /// Vets the model's material libraries and their textures. The allowed roots are the model's folder and
  /// `assetDirectories`; for a library its own folder comes first. A reference to a file that stands nowhere is fine.
  static Prepared prepare(const FileURL& modelURL, const std::vector<FileURL>& assetDirectories);

  /// Makes each material that has a definition physically based, and sets the contents that the definition has.
  static void apply(const Prepared& prepared, SCNScene& scene);

  /// Hands the lines of a file to `body`, without their line feeds. Throws `LineTooLong` and, where the file is larger
  /// than `maximumBytes`, `MaterialLibraryTooLarge`.
  static void forEachRawLine(const FileURL& url, std::optional<std::uint64_t> maximumBytes,
                             const std::function<void(std::string_view line)>& body);

  /// The words of a line, separated by white space. A word that begins with a quote, double or single, reaches up to
  /// the next such quote, and what stands between them is kept as it is; a quote further on is a character of its word.
  /// Outside quotes, "#" begins a comment; a backslash makes a blank, a quote, "#" or another backslash an ordinary
  /// character of the word, is dropped at the end of the line, and is else the separator of a path as some systems
  /// write it: "/". Throws `MalformedDirective` for a quote that does not end.
  static std::vector<std::string> tokens(std::string_view line);

  /// The names that a line of an OBJ file gives to material libraries: none where it has another directive.
  static std::vector<std::string> materialLibraryReferences(std::string_view line);

  /// Hands the lines of a material library to `body`, in sound UTF-8; they may end in CR alone too. Throws as
  /// `forEachRawLine` does.
  static void forEachLibraryLine(const FileURL& url, const std::function<void(const std::string& line)>& body);

  /// The definitions of one library, added to `definitions`; one of the same name is replaced. A material's name is all
  /// that stands behind its directive (OBJMaterialName.h), so that "Material #25" and "Material #26" are two.
  static void parseMaterialLibrary(const FileURL& url, OBJResourceFinder& finder,
                                   std::map<std::string, MaterialDefinition, std::less<>>& definitions);

  /// The path that the words of a texture directive give, behind its options.
  static std::string mapResourcePath(const std::vector<std::string>& tokens);

  /// The channel of a directive in lower case.
  static std::optional<TextureChannel> textureChannel(std::string_view directive);

  /// True for a directive, in lower case, that names a texture.
  static bool namesTexture(std::string_view directive);

  /// Where textures of the library `url` are searched.
  static OBJResourceFinder finderForLibrary(const FileURL& url, const std::vector<FileURL>& roots);
};

}  // namespace ornolith
