#include "imaging/CodecModule.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace ornolith {

namespace {

/// The absolute directory of the running program; empty where it cannot be told.
std::string programDirectory() {
  std::array<char, PATH_MAX> buffer{};
  const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  if (length <= 0 || static_cast<std::size_t>(length) >= buffer.size()) return {};
  const std::string_view path(buffer.data(), static_cast<std::size_t>(length));
  const std::size_t slash = path.rfind('/');
  return path.front() == '/' ? std::string(path.substr(0, slash)) : std::string();
}

/// Where the modules are. The build folder counts only for programs that lie in it, so that an installed program never
/// loads what somebody puts there.
std::string moduleDirectory() {
  constexpr std::string_view buildDirectory = ORNOLITH_BUILD_DIRECTORY;
  const std::string directory = programDirectory();
  if (directory.empty()) return {};
  if ((directory + "/").starts_with(std::string(buildDirectory) + "/")) return std::string(buildDirectory) + "/codecs";
  return directory + "/../lib/ornolith-render";
}

/// What a module exports; null for what is not there.
struct Entries {
  CodecEntry decode = nullptr;
  CodecSizeEntry size = nullptr;
};

Entries load(std::string_view name) {
  const std::string directory = moduleDirectory();
  if (directory.empty()) return {};
  const std::string path = directory + "/ornolith-codec-" + std::string(name) + ".so";
  void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) return {};
  return {reinterpret_cast<CodecEntry>(::dlsym(module, codecEntryName)),
          reinterpret_cast<CodecSizeEntry>(::dlsym(module, codecSizeEntryName))};
}

Entries entriesOf(CodecModule module) {
  switch (module) {
    case CodecModule::tiff: {
      static const Entries tiff = load("tiff");
      return tiff;
    }
    case CodecModule::heic: {
      static const Entries heic = load("heic");
      return heic;
    }
    case CodecModule::exr: {
      static const Entries exr = load("exr");
      return exr;
    }
  }
  return {};
}

}  // namespace

std::optional<Image> decodeByModule(CodecModule module, std::span<const std::byte> data, ImageSize size) {
  const CodecEntry decode = entriesOf(module).decode;
  Image image;
  if (decode == nullptr || !decode(data.data(), data.size(), size, image)) return std::nullopt;
  return image;
}

std::optional<ImageSize> sizeByModule(CodecModule module, std::span<const std::byte> data) noexcept {
  try {
    const CodecSizeEntry tellSize = entriesOf(module).size;
    ImageSize size;
    if (tellSize == nullptr || !tellSize(data.data(), data.size(), size)) return std::nullopt;
    return size;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace ornolith
