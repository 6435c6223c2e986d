#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "imaging/Image.h"

namespace ornolith::golden {

/// One picture: the program's arguments behind the model and before `--output`, at 256x256 where they name no size.
struct GoldenCase {
  std::string name;   ///< The image is tests/golden/images/<name>.png.
  std::string model;  ///< A file of the examples folder.
  std::vector<std::string> options;
};

inline void PrintTo(const GoldenCase& goldenCase, std::ostream* out) {
  *out << goldenCase.name;
}

const std::vector<GoldenCase>& goldenCases();

/// The case's picture as the built program draws it now. Nothing where the program fails; `log` then holds its output.
std::optional<Image> renderCase(const GoldenCase& goldenCase, std::string& log);

/// The accepted picture, or nothing where there is none yet.
std::optional<Image> acceptedImage(const GoldenCase& goldenCase);
std::string acceptedImagePath(const GoldenCase& goldenCase);

/// Old, new and difference (each channel's absolute difference times 8, opaque) side by side; a missing side is left
/// out.
Image reviewSheet(const std::optional<Image>& accepted, const std::optional<Image>& actual);

/// Writes `image` as <name>.png into the build tree's review folder and returns the path.
std::string writeReview(const std::string& name, const Image& image);
void writeImage(const std::string& path, const Image& image);

}  // namespace ornolith::golden
