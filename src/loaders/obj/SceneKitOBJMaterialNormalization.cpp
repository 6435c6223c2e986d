#include "loaders/obj/SceneKitOBJMaterialNormalization.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include "foundation/ByteOrderMark.h"
#include "foundation/FileMapping.h"
#include "foundation/FileSystem.h"
#include "foundation/NumberText.h"
#include "foundation/SystemError.h"
#include "foundation/Text.h"
#include "loaders/obj/OBJMapDirective.h"
#include "loaders/obj/OBJMaterialName.h"
#include "loaders/obj/SceneKitOBJMaterialError.h"
#include "scenegraph/SCNSubtreeWalk.h"

namespace ornolith {

namespace error = scene_kit_obj_material_error;
using Normalization = SceneKitOBJMaterialNormalization;

namespace {

constexpr std::string_view libraryDirective = "mtllib";

bool isBlankByte(char letter) noexcept {
  return letter == ' ' || (letter >= '\t' && letter <= '\r');
}

/// Cuts a line into words.
class Tokenizer {
 public:
  explicit Tokenizer(std::string_view line) : line_(line) {}

  std::vector<std::string> run() {
    std::vector<std::string> tokens;
    while (true) {
      while (position_ < line_.size() && isBlankByte(line_[position_])) ++position_;
      if (position_ == line_.size() || line_[position_] == '#') return tokens;
      const bool isQuoted = line_[position_] == '"' || line_[position_] == '\'';
      std::string token = isQuoted ? quotedText() : std::string();
      const bool endsInComment = addBareText(token);
      if (isQuoted || !token.empty()) tokens.push_back(std::move(token));
      if (endsInComment) return tokens;
    }
  }

 private:
  std::string quotedText() {
    const char quote = line_[position_++];
    const std::size_t end = line_.find(quote, position_);
    if (end == std::string_view::npos) throwMalformedDirective(line_);
    const std::string_view text = line_.substr(position_, end - position_);
    position_ = end + 1;
    return std::string(text);
  }

  /// Up to the next blank; true where a comment begins there.
  bool addBareText(std::string& token) {
    for (; position_ < line_.size() && !isBlankByte(line_[position_]); ++position_) {
      if (line_[position_] == '#') return true;
      if (line_[position_] == '\\') {
        addBackslash(token);
      } else {
        token += line_[position_];
      }
    }
    return false;
  }

  void addBackslash(std::string& token) {
    const std::string_view behind = line_.substr(position_ + 1);
    if (trimmingWhitespace(behind).empty()) return;
    if (isBlankByte(behind.front()) || std::string_view("\"'#\\").find(behind.front()) != std::string_view::npos) {
      token += behind.front();
      ++position_;
    } else {
      token += '/';
    }
  }

  std::string_view line_;
  std::size_t position_ = 0;
};

/// Hands to `body` each line of an OBJ file that could name a material library, in order: those with the directive's
/// letters behind nothing but blanks and quotes. Lines end at carriage returns too.
class LibraryLineSearch {
 public:
  LibraryLineSearch(const FileMapping& file, std::string fileName, const std::function<void(std::string_view)>& body)
      : file_(file), text_(file.text()), fileName_(std::move(fileName)), body_(body) {}

  void run() {
    text_ = withoutByteOrderMark(text_);
    while (!text_.empty()) {
      const std::size_t size = sizeOfWholeLines();
      searchIn(text_.substr(0, size));
      file_.forget(std::as_bytes(std::span(text_.substr(0, size))));
      text_.remove_prefix(size);
    }
  }

 private:
  /// The bytes of as many whole lines as lie within the length of the longest line that is allowed, at least one.
  std::size_t sizeOfWholeLines() const {
    constexpr std::size_t longest = Normalization::maximumLineByteCount + 1;  // With its line feed.
    const std::string_view window = text_.substr(0, longest);
    const std::size_t lineFeed = window.rfind('\n');
    if (lineFeed != std::string_view::npos) return lineFeed + 1;
    if (window.size() == longest) throw SceneKitOBJMaterialError(error::LineTooLong{fileName_});
    return window.size();
  }

  void searchIn(std::string_view lines) {
    std::size_t nextSmall = 0;
    std::size_t nextCapital = 0;
    for (std::size_t position = 0; position < lines.size();) {
      if (nextSmall <= position) nextSmall = std::min(lines.find('m', position), lines.size());
      if (nextCapital <= position) nextCapital = std::min(lines.find('M', position), lines.size());
      const std::size_t found = std::min(nextSmall, nextCapital);
      if (found == lines.size()) return;
      position = found + 1;
      if (!isDirective(lines.substr(found, libraryDirective.size()))) continue;
      const std::size_t begin = beginningOfLine(lines, found);
      if (begin == std::string_view::npos) continue;
      const std::size_t end = std::min(lines.find_first_of("\n\r", found), lines.size());
      body_(lines.substr(begin, end - begin));
      position = end;
    }
  }

  static bool isDirective(std::string_view letters) {
    return letters.size() == libraryDirective.size() &&
           std::equal(letters.begin(), letters.end(), libraryDirective.begin(), [](char letter, char wanted) {
             return (letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter) == wanted;
           });
  }

  static std::size_t beginningOfLine(std::string_view lines, std::size_t position) {
    for (; position > 0; --position) {
      const char letter = lines[position - 1];
      if (letter == '\n' || letter == '\r') break;
      if (!isBlankByte(letter) && letter != '"' && letter != '\'') return std::string_view::npos;
    }
    return position;
  }

  const FileMapping& file_;
  std::string_view text_;
  std::string fileName_;
  const std::function<void(std::string_view)>& body_;
};

std::optional<std::array<double, 3>> threeNumbers(const std::vector<std::string>& tokens) {
  if (tokens.size() < 4) return std::nullopt;
  std::array<double, 3> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::optional<double> number = parseDouble(tokens[i + 1]);
    if (!number || !std::isfinite(*number)) return std::nullopt;
    numbers[i] = *number;
  }
  return numbers;
}

void setTexture(Normalization::MaterialDefinition& definition, Normalization::TextureChannel channel,
                const FileURL& url) {
  using Channel = Normalization::TextureChannel;
  switch (channel) {
    case Channel::diffuse:
      definition.diffuseURL = url;
      break;
    case Channel::emission:
      definition.emissionURL = url;
      break;
    case Channel::normal:
      definition.normalURL = url;
      break;
    case Channel::roughness:
      definition.roughnessURL = url;
      break;
    case Channel::metalness:
      definition.metalnessURL = url;
      break;
  }
}

void setContents(SCNMaterialProperty& property, const std::optional<FileURL>& url) {
  if (url) property.contents = *url;
}

void applyDefinition(const Normalization::MaterialDefinition& definition, SCNMaterial& material) {
  if (definition.emission) {
    const auto& [red, green, blue] = *definition.emission;
    material.emission.contents = NSColor{.red = red, .green = green, .blue = blue, .alpha = 1};
    material.emission.intensity = 1;
  }
  material.lightingModelName = SCNLightingModelPhysicallyBased;
  setContents(material.diffuse, definition.diffuseURL);
  setContents(material.normal, definition.normalURL);
  setContents(material.roughness, definition.roughnessURL);
  setContents(material.metalness, definition.metalnessURL);
  setContents(material.emission, definition.emissionURL);
}

/// The libraries that a line names. A name with blanks in it reads as several; where none of those stands, the line as
/// a whole is tried.
std::vector<FileURL> librariesOfLine(const std::vector<std::string>& references, OBJResourceFinder& finder) {
  std::vector<FileURL> libraries;
  for (const std::string& reference : references) {
    if (const std::optional<FileURL> library = finder.resolveResource(reference)) libraries.push_back(*library);
  }
  if (libraries.empty() && references.size() > 1) {
    if (const std::optional<FileURL> library = finder.resolveResource(joiningWithBlanks(references))) {
      libraries.push_back(*library);
    }
  }
  return libraries;
}

}  // namespace

Normalization::Prepared Normalization::prepare(const FileURL& modelURL, const std::vector<FileURL>& assetDirectories) {
  std::vector<FileURL> folders{modelURL.deletingLastPathComponent()};
  folders.insert(folders.end(), assetDirectories.begin(), assetDirectories.end());
  Prepared prepared;
  prepared.roots = canonicalRoots(folders);

  std::vector<std::vector<std::string>> referencesOfLines;
  std::size_t referenceCount = 0;
  const FileMapping model(modelURL);
  LibraryLineSearch(model, modelURL.lastPathComponent(), [&](std::string_view line) {
    std::vector<std::string> references = materialLibraryReferences(line);
    referenceCount += references.size();
    if (referenceCount > maximumMaterialLibraryCount) {
      throw SceneKitOBJMaterialError(error::TooManyMaterialLibraries{});
    }
    referencesOfLines.push_back(std::move(references));
  }).run();

  OBJResourceFinder finder(prepared.roots);
  for (const std::vector<std::string>& references : referencesOfLines) {
    for (const FileURL& library : librariesOfLine(references, finder)) {
      if (std::find(prepared.libraries.begin(), prepared.libraries.end(), library) != prepared.libraries.end())
        continue;
      prepared.libraries.push_back(library);
      OBJResourceFinder textures = finderForLibrary(library, prepared.roots);
      parseMaterialLibrary(library, textures, prepared.definitions);
    }
  }
  return prepared;
}

void Normalization::apply(const Prepared& prepared, SCNScene& scene) {
  for (SCNSubtreeWalk walk(*scene.rootNode()); !walk.isAtEnd(); walk.next()) {
    if (!walk.node().geometry) continue;
    for (const std::shared_ptr<SCNMaterial>& material : walk.node().geometry->materials()) {
      const auto definition = prepared.definitions.find(material->name);
      if (definition != prepared.definitions.end()) applyDefinition(definition->second, *material);
    }
  }
}

void Normalization::forEachRawLine(const FileURL& url, std::optional<std::uint64_t> maximumBytes,
                                   const std::function<void(std::string_view line)>& body) {
  const FileDescriptor file = openFileForReading(url, FinalLink::refuse);
  std::vector<char> block(bytesPerRead);
  std::string pending;
  std::uint64_t total = 0;
  while (true) {
    const ssize_t count = ::read(file.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw SystemError("read", url.path(), errno);
    if (count == 0) break;
    total += static_cast<std::uint64_t>(count);
    if (maximumBytes && total > *maximumBytes) {
      throw SceneKitOBJMaterialError(error::MaterialLibraryTooLarge{url.lastPathComponent()});
    }
    std::string_view rest(block.data(), static_cast<std::size_t>(count));
    while (!rest.empty()) {
      const std::size_t lineFeed = rest.find('\n');
      pending += rest.substr(0, lineFeed);
      if (pending.size() > maximumLineByteCount) {
        throw SceneKitOBJMaterialError(error::LineTooLong{url.lastPathComponent()});
      }
      if (lineFeed == std::string_view::npos) break;
      body(pending);
      pending.clear();
      rest.remove_prefix(lineFeed + 1);
    }
  }
  if (!pending.empty()) body(pending);
}

std::vector<std::string> Normalization::tokens(std::string_view line) {
  return Tokenizer(line).run();
}

std::vector<std::string> Normalization::materialLibraryReferences(std::string_view line) {
  std::vector<std::string> words = tokens(isValidUTF8(line) ? std::string(line) : repairingUTF8(line));
  if (words.empty() || lowercased(words.front()) != libraryDirective) return {};
  if (words.size() == 1) throwMalformedDirective(line);
  words.erase(words.begin());
  return words;
}

void Normalization::forEachLibraryLine(const FileURL& url, const std::function<void(const std::string& line)>& body) {
  bool isFirst = true;
  forEachRawLine(url, maximumMaterialLibraryByteCount, [&](std::string_view bytes) {
    const std::string text = repairingUTF8(std::exchange(isFirst, false) ? withoutByteOrderMark(bytes) : bytes);
    for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = std::min(text.find('\r', begin), text.size());
      body(text.substr(begin, end - begin));
      begin = end + 1;
    }
  });
}

void Normalization::parseMaterialLibrary(const FileURL& url, OBJResourceFinder& finder,
                                         std::map<std::string, MaterialDefinition, std::less<>>& definitions) {
  MaterialDefinition* current = nullptr;
  forEachLibraryLine(url, [&](const std::string& line) {
    const std::vector<std::string> words = tokens(line);
    if (words.empty()) return;
    const std::string directive = lowercased(words.front());
    if (directive == "newmtl") {
      if (words.size() == 1) throwMalformedDirective(line);
      const std::string name = objMaterialName(behindOBJDirective(line));
      current = &definitions.insert_or_assign(name, MaterialDefinition{}).first->second;
    } else if (directive == "ke") {
      if (const auto emission = threeNumbers(words); emission && current != nullptr) current->emission = emission;
    } else if (namesTexture(directive)) {
      const std::optional<FileURL> file = finder.resolveResource(mapResourcePath(words));
      const std::optional<TextureChannel> channel = textureChannel(directive);
      if (file && channel && current != nullptr) setTexture(*current, *channel, *file);
    }
  });
}

std::string Normalization::mapResourcePath(const std::vector<std::string>& tokens) {
  return readMapDirective(tokens).path;
}

std::optional<Normalization::TextureChannel> Normalization::textureChannel(std::string_view directive) {
  if (directive == "map_kd") return TextureChannel::diffuse;
  if (directive == "map_ke") return TextureChannel::emission;
  if (directive == "map_bump" || directive == "bump" || directive == "norm") return TextureChannel::normal;
  if (directive == "map_pr") return TextureChannel::roughness;
  if (directive == "map_pm") return TextureChannel::metalness;
  return std::nullopt;
}

bool Normalization::namesTexture(std::string_view directive) {
  return directive.starts_with("map_") || directive == "bump" || directive == "norm";
}

OBJResourceFinder Normalization::finderForLibrary(const FileURL& url, const std::vector<FileURL>& roots) {
  std::vector<FileURL> folders{url.deletingLastPathComponent()};
  folders.insert(folders.end(), roots.begin(), roots.end());
  return OBJResourceFinder(canonicalRoots(folders));
}

}  // namespace ornolith
