#include "imaging/CodecModule.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <climits>
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

CodecEntry load(std::string_view name) {
  const std::string directory = moduleDirectory();
  if (directory.empty()) return nullptr;
  const std::string path = directory + "/ornolith-codec-" + std::string(name) + ".so";
  void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) return nullptr;
  return reinterpret_cast<CodecEntry>(::dlsym(module, codecEntryName));
}

CodecEntry entry(CodecModule module) {
  switch (module) {
    case CodecModule::tiff: {
      static const CodecEntry tiff = load("tiff");
      return tiff;
    }
    case CodecModule::heic: {
      static const CodecEntry heic = load("heic");
      return heic;
    }
    case CodecModule::exr: {
      static const CodecEntry exr = load("exr");
      return exr;
    }
  }
  return nullptr;
}

}  // namespace

std::optional<Image> decodeByModule(CodecModule module, std::span<const std::byte> data) {
  const CodecEntry decode = entry(module);
  Image image;
  if (decode == nullptr || !decode(data.data(), data.size(), image)) return std::nullopt;
  return image;
}

}  // namespace ornolith
