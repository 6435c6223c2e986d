#include "GoldenCases.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

namespace ornolith::golden {

namespace {

/// A fresh folder under /tmp, removed at the end of its life.
class ScratchFolder {
 public:
  ScratchFolder() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no scratch folder in /tmp");
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_ = "/tmp/ornolith-golden-XXXXXX";
};

/// Runs the program with standard error going to `logPath`; gives its exit status, or -1 where it did not exit.
int runProgram(std::vector<std::string> arguments, const std::string& logPath) {
  arguments.insert(arguments.begin(), ORNOLITH_PROGRAM);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int log = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(log, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

void copyInto(Image& sheet, const Image& part, std::uint32_t left) {
  for (std::uint32_t y = 0; y < part.height; ++y) {
    std::copy_n(part.pixel(0, y), part.rowBytes(), sheet.pixels.data() + y * sheet.rowBytes() + std::size_t{left} * 4);
  }
}

Image difference(const Image& a, const Image& b) {
  Image result{a.width, a.height, PixelBytes(a.pixels.size(), 0)};
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    const int delta = std::abs(int{a.pixels[i]} - int{b.pixels[i]}) * 8;
    result.pixels[i] = i % 4 == 3 ? std::uint8_t{255} : static_cast<std::uint8_t>(std::min(delta, 255));
  }
  // A difference of alpha alone shows in all channels.
  for (std::size_t i = 3; i < a.pixels.size(); i += 4) {
    if (a.pixels[i] == b.pixels[i]) continue;
    std::fill_n(result.pixels.begin() + static_cast<std::ptrdiff_t>(i) - 3, 3, std::uint8_t{255});
  }
  return result;
}

}  // namespace

const std::vector<GoldenCase>& goldenCases() {
  static const std::vector<GoldenCase> cases = {
      {"desk-lamp", "desk-lamp.fbx", {}},
      {"desk-lamp-background", "desk-lamp.fbx", {"--background", "#20304A"}},
      {"desk-lamp-untextured", "desk-lamp.fbx", {"--surface", "untextured", "--background", "#FFFFFF"}},
      {"desk-lamp-transparent", "desk-lamp.fbx", {"--surface", "transparent", "--background", "#FFFFFF"}},
      {"desk-lamp-mesh", "desk-lamp.fbx", {"--surface", "mesh", "--background", "#FFFFFF"}},
      {"desk-lamp-camera",
       "desk-lamp.fbx",
       {"--camera-position", "40,35,60", "--camera-target", "0,14,0", "--fov", "38"}},
      {"desk-lamp-contact-4", "desk-lamp.fbx", {"--layout", "contact-4", "--background", "#F4F4F4"}},
      {"desk-lamp-contact-6-strip",
       "desk-lamp.fbx",
       {"--layout", "contact-6", "--contact-arrangement", "strip", "--width", "600", "--height", "120"}},
      {"desk-lamp-poses",
       "desk-lamp.fbx",
       {"--pose-file", ORNOLITH_EXAMPLES "/lamp-poses.json", "--background", "#F4F4F4"}},
      {"desk-lamp-pose", "desk-lamp.fbx", {"--rotate-part", "Lower Arm", "z=-30", "--rotate-part", "Head", "z=40"}},
      {"textured-box", "textured-box.fbx", {}},
      {"embedded-texture", "embedded-texture.fbx", {}},
      {"mirrored", "mirrored.fbx", {}},
      {"sheared", "sheared.fbx", {}},
      {"vertex-colors", "vertex-colors.fbx", {}},
      {"skinned", "skinned.fbx", {}},
      {"animated", "animated.fbx", {}},
      {"glb-desk-lamp", "desk-lamp.glb", {}},
      {"glb-desk-lamp-contact-6", "desk-lamp.glb", {"--layout", "contact-6", "--background", "#F4F4F4"}},
      {"glb-desk-lamp-pose",
       "desk-lamp.glb",
       {"--rotate-part", "id:gltf:2", "z=-30", "--rotate-part", "path:gltf:0/gltf:1/gltf:2/gltf:3/gltf:4", "z=40"}},
      {"glb-normal-map", "normal-map.glb", {}},
      {"glb-materials", "materials.glb", {}},
      {"glb-alpha-modes", "alpha-modes.glb", {"--background", "#F4F4F4"}},
      {"glb-texture-transforms", "texture-transforms.glb", {}},
      {"glb-texture-filters", "texture-filters.glb", {}},
      {"glb-vertex-colors", "vertex-colors.glb", {}},
      {"glb-skinned", "skinned.glb", {}},
      {"glb-morph", "morph.glb", {}},
      {"glb-sparse", "sparse.glb", {}},
      {"glb-variants", "variants.glb", {}},
      {"glb-primitives", "primitives.glb", {"--background", "#F4F4F4"}},
      {"gltf-textured-box", "textured-box.gltf", {}},
      {"obj-toy-chest", "toy-chest.obj", {}},
      {"stl-knob", "knob.stl", {}},
      {"ply-vertex-colors", "vertex-colors.ply", {}},
  };
  return cases;
}

std::optional<Image> renderCase(const GoldenCase& goldenCase, std::string& log) {
  const ScratchFolder scratch;
  const std::string output = scratch.file("picture.png");
  std::vector<std::string> arguments = {ORNOLITH_EXAMPLES "/" + goldenCase.model, "--width", "256", "--height", "256"};
  arguments.insert(arguments.end(), goldenCase.options.begin(), goldenCase.options.end());
  arguments.insert(arguments.end(), {"--output", output});
  const int status = runProgram(arguments, scratch.file("log"));
  std::ifstream stream(scratch.file("log"));
  log.assign(std::istreambuf_iterator<char>(stream), {});
  if (status != 0) return std::nullopt;
  return decodeImageFile(output);
}

std::string acceptedImagePath(const GoldenCase& goldenCase) {
  return std::string(ORNOLITH_GOLDEN) + "/" + goldenCase.name + ".png";
}

std::optional<Image> acceptedImage(const GoldenCase& goldenCase) {
  return decodeImageFile(acceptedImagePath(goldenCase));
}

Image reviewSheet(const std::optional<Image>& accepted, const std::optional<Image>& actual) {
  std::vector<Image> parts;
  if (accepted) parts.push_back(*accepted);
  if (actual) parts.push_back(*actual);
  if (accepted && actual && accepted->width == actual->width && accepted->height == actual->height) {
    parts.push_back(difference(*accepted, *actual));
  }
  Image sheet{1, 1, PixelBytes(4, 0)};
  std::uint32_t width = 0;
  for (const Image& part : parts) {
    width += part.width;
    sheet.height = std::max(sheet.height, part.height);
  }
  sheet.width = std::max(width, 1U);
  sheet.pixels.assign(sheet.height * sheet.rowBytes(), 0);
  std::uint32_t left = 0;
  for (const Image& part : parts) {
    copyInto(sheet, part, left);
    left += part.width;
  }
  return sheet;
}

void writeImage(const std::string& path, const Image& image) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  const std::vector<std::byte> bytes = encodePNG(image);
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!stream) throw std::runtime_error("cannot write " + path);
}

std::string writeReview(const std::string& name, const Image& image) {
  const std::string path = std::string(ORNOLITH_GOLDEN_REVIEW) + "/" + name + ".png";
  writeImage(path, image);
  return path;
}

}  // namespace ornolith::golden
