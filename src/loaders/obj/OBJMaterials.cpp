#include "loaders/obj/OBJMaterials.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

#include "foundation/NumberText.h"
#include "foundation/Text.h"
#include "loaders/obj/OBJMapDirective.h"

namespace ornolith {

namespace {

using Normalization = SceneKitOBJMaterialNormalization;

constexpr double roughnessOfMatteSurfaces = 0.85;

struct Map {
  FileURL url;
  OBJMapDirective directive;
};

/// What a library says of one material.
struct Values {
  std::optional<NSColor> diffuse;
  std::optional<NSColor> specular;
  std::optional<NSColor> emission;
  std::optional<double> exponent;      // Ns
  std::optional<double> opacity;       // d
  std::optional<double> transparency;  // Tr
  std::optional<double> illumination;  // illum
  std::optional<double> roughness;
  std::optional<double> metalness;
  std::optional<double> clearCoat;
  std::optional<double> clearCoatRoughness;
  std::map<std::string, Map, std::less<>> maps;  // By the directive in lower case.
};

std::optional<double> finiteNumber(std::string_view token) {
  const std::optional<double> number = parseDouble(token);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

double clampedToUnit(double value) {
  return std::clamp(value, 0.0, 1.0);
}

/// A colour of three numbers, or a grey of one; nothing for the forms with a spectral file or other colour spaces.
std::optional<NSColor> color(const std::vector<std::string>& tokens) {
  std::array<double, 3> components{};
  for (std::size_t i = 0; i < components.size(); ++i) {
    if (i > 0 && tokens.size() == 2) {
      components[i] = components[0];
      continue;
    }
    const std::optional<double> number = i + 1 < tokens.size() ? finiteNumber(tokens[i + 1]) : std::nullopt;
    if (!number) return std::nullopt;
    components[i] = clampedToUnit(*number);
  }
  return NSColor{.red = components[0], .green = components[1], .blue = components[2], .alpha = 1};
}

bool isBlack(const NSColor& color) {
  return color.red <= 0 && color.green <= 0 && color.blue <= 0;
}

/// The opacity that the values state. "d" is opacity and "Tr" its opposite, but exporters contradict each other over
/// "Tr", and some write it with the meaning of "d". So "d" counts where both are there and disagree; and a "Tr" alone
/// that would make the surface invisible, which nobody exports, means the other end. A texture of the opacity says all
/// where the number is zero.
double opacityOf(const Values& values) {
  double opacity = 1;
  if (values.opacity) {
    opacity = clampedToUnit(*values.opacity);
    const bool isContradicted = values.transparency && clampedToUnit(*values.transparency) <= 0;
    if (opacity <= 0 && isContradicted) opacity = 1;
  } else if (values.transparency) {
    opacity = 1 - clampedToUnit(*values.transparency);
    if (opacity <= 0) opacity = 1;
  }
  return opacity <= 0 && values.maps.contains("map_d") ? 1 : opacity;
}

/// The roughness of a surface whose highlight has the exponent of the Blinn model (B. Walter et al., "Microfacet models
/// for refraction", 2007: alpha^2 = 2 / (n + 2), where alpha is the roughness squared).
double roughnessOfExponent(double exponent) {
  return std::sqrt(std::sqrt(2 / (std::max(exponent, 0.0) + 2)));
}

double roughnessOf(const Values& values) {
  if (values.roughness) return clampedToUnit(*values.roughness);
  const bool hasHighlight = values.specular && !isBlack(*values.specular) &&
                            (!values.illumination || *values.illumination >= 2) && values.exponent;
  return hasHighlight ? std::min(roughnessOfExponent(*values.exponent), 1.0) : roughnessOfMatteSurfaces;
}

/// The transform that a directive asks for. Its texture coordinates count from the bottom, the scene's from the top.
SCNMatrix4 contentsTransform(const OBJMapDirective& directive) {
  const auto component = [](const std::vector<double>& values, std::size_t i, double missing) {
    return i < values.size() && std::isfinite(values[i]) ? values[i] : missing;
  };
  SCNMatrix4 transform;
  const double scaleV = component(directive.scale, 1, 1);
  transform.columns[0].x = component(directive.scale, 0, 1);
  transform.columns[1].y = scaleV;
  transform.columns[3].x = component(directive.offset, 0, 0);
  transform.columns[3].y = 1 - scaleV - component(directive.offset, 1, 0);
  return transform;
}

class MaterialMaker {
 public:
  MaterialMaker(const Values& values, SCNMaterial& material) : values_(values), material_(material) {}

  void make() {
    material_.lightingModelName = SCNLightingModelPhysicallyBased;
    material_.isDoubleSided = true;
    constexpr NSColor white{.red = 1, .green = 1, .blue = 1, .alpha = 1};
    material_.diffuse.contents = values_.diffuse.value_or(white);
    if (values_.specular) material_.specular.contents = *values_.specular;
    if (values_.emission) material_.emission.contents = *values_.emission;
    if (values_.exponent) material_.shininess = std::max(*values_.exponent, 0.0);
    material_.roughness.contents = roughnessOf(values_);
    material_.metalness.contents = clampedToUnit(values_.metalness.value_or(0));
    if (values_.clearCoat) material_.clearCoat.contents = clampedToUnit(*values_.clearCoat);
    if (values_.clearCoatRoughness) {
      material_.clearCoatRoughness.contents = clampedToUnit(*values_.clearCoatRoughness);
    }
    material_.transparency = opacityOf(values_);
    setTextures();
  }

 private:
  void setTextures() {
    setTexture(material_.diffuse, {"map_kd"});
    setTexture(material_.emission, {"map_ke"});
    setTexture(material_.specular, {"map_ks"});
    setTexture(material_.roughness, {"map_pr"});
    setTexture(material_.metalness, {"map_pm"});
    const Map* const bump = setTexture(material_.normal, {"norm", "map_bump", "bump"});
    if (bump != nullptr && bump->directive.bumpMultiplier && std::isfinite(*bump->directive.bumpMultiplier)) {
      material_.normal.intensity = *bump->directive.bumpMultiplier;
    }
    // The alpha of the colour's own texture counts anyway.
    const auto opacity = values_.maps.find("map_d");
    const auto colors = values_.maps.find("map_kd");
    const bool isSameFile =
        opacity != values_.maps.end() && colors != values_.maps.end() && opacity->second.url == colors->second.url;
    if (!isSameFile) setTexture(material_.transparent, {"map_d"});
  }

  /// Shows the texture of the first directive that has one; every texture repeats unless it is told not to.
  const Map* setTexture(SCNMaterialProperty& property, std::initializer_list<std::string_view> directives) {
    for (const std::string_view directive : directives) {
      const auto map = values_.maps.find(directive);
      if (map == values_.maps.end()) continue;
      const SCNWrapMode wrap = map->second.directive.isClamped ? SCNWrapMode::clamp : SCNWrapMode::repeat;
      property.contents = map->second.url;
      property.contentsTransform = contentsTransform(map->second.directive);
      property.wrapS = wrap;
      property.wrapT = wrap;
      return &map->second;
    }
    return nullptr;
  }

  const Values& values_;
  SCNMaterial& material_;
};

void readColor(const std::vector<std::string>& tokens, std::optional<NSColor>& value) {
  if (const std::optional<NSColor> read = color(tokens)) value = read;
}

void readNumber(const std::vector<std::string>& tokens, std::optional<double>& value) {
  // "d -halo 0.5" fades towards the outline; the number is what is left of it here.
  if (tokens.size() < 2) return;
  if (const std::optional<double> read = finiteNumber(tokens.back())) value = read;
}

void readDirective(const std::string& directive, const std::vector<std::string>& tokens, OBJResourceFinder& finder,
                   Values& values) {
  if (directive == "kd") readColor(tokens, values.diffuse);
  if (directive == "ks") readColor(tokens, values.specular);
  if (directive == "ke") readColor(tokens, values.emission);
  if (directive == "ns") readNumber(tokens, values.exponent);
  if (directive == "d") readNumber(tokens, values.opacity);
  if (directive == "tr") readNumber(tokens, values.transparency);
  if (directive == "illum") readNumber(tokens, values.illumination);
  if (directive == "pr") readNumber(tokens, values.roughness);
  if (directive == "pm") readNumber(tokens, values.metalness);
  if (directive == "pc") readNumber(tokens, values.clearCoat);
  if (directive == "pcr") readNumber(tokens, values.clearCoatRoughness);
  if (Normalization::namesTexture(directive)) {
    OBJMapDirective map = readMapDirective(tokens);
    const std::optional<FileURL> url = finder.resolveResource(map.path);
    if (url) values.maps.insert_or_assign(directive, Map{*url, std::move(map)});
  }
}

/// What the libraries say.
struct Definitions {
  std::map<std::string, Values, std::less<>> materials;    // By name.
  std::map<std::string, std::string> namesBeforeComments;  // What stands before a comment, and the whole name.
};

void readLibrary(const FileURL& library, const std::vector<FileURL>& roots, Definitions& definitions) {
  OBJResourceFinder finder = Normalization::finderForLibrary(library, roots);
  Values* current = nullptr;
  Normalization::forEachLibraryLine(library, [&](const std::string& line) {
    const std::vector<std::string> tokens = Normalization::tokens(line);
    if (tokens.empty()) return;
    const std::string directive = lowercased(tokens.front());
    if (directive == "newmtl") {
      const std::string_view rest = behindOBJDirective(line);
      const std::string name = objMaterialName(rest);
      const std::string nameBeforeComment = objMaterialNameBeforeComment(rest);
      if (!nameBeforeComment.empty()) definitions.namesBeforeComments.insert_or_assign(nameBeforeComment, name);
      current = &definitions.materials.insert_or_assign(name, Values{}).first->second;
    } else if (current != nullptr) {
      readDirective(directive, tokens, finder, *current);
    }
  });
}

}  // namespace

OBJMaterials readOBJMaterials(const Normalization::Prepared& prepared) {
  Definitions definitions;
  for (const FileURL& library : prepared.libraries) readLibrary(library, prepared.roots, definitions);
  OBJMaterials materials;
  for (const auto& [name, values] : definitions.materials) {
    std::shared_ptr<SCNMaterial> material = SCNMaterial::material();
    material->name = name;
    MaterialMaker(values, *material).make();
    materials.emplace(name, std::move(material));
  }
  for (const auto& [nameBeforeComment, name] : definitions.namesBeforeComments) {
    materials.try_emplace(nameBeforeComment, materials.find(name)->second);
  }
  return materials;
}

}  // namespace ornolith
