// links: ornolith_loaders_obj
//
// The vetting of an OBJ file and its material libraries: whatever they name, nothing outside the model's folder is
// found, and what is refused is refused with a message. The input is an OBJ file and, behind a zero byte, a library.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "FuzzCheck.h"
#include "loaders/obj/OBJMaterials.h"
#include "loaders/obj/SceneKitOBJMaterialError.h"

using namespace ornolith;

namespace {

/// A folder with a texture in it and one beside it, for as long as the program runs.
class Folder {
 public:
  Folder() {
    std::string pattern = "/tmp/ornolith-fuzz-XXXXXX";
    path_ = ::mkdtemp(pattern.data());
    std::filesystem::create_directories(path_ + "/model/sub");
    write("outside.png", "");
    write("model/a.png", "a");
    write("model/sub/b.png", "b");
    std::filesystem::create_symlink("../outside.png", path_ + "/model/l.png");
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }
  void write(const std::string& name, std::string_view text) const {
    std::ofstream(path_ + "/" + name, std::ios::binary) << text;
  }

 private:
  std::string path_;
};

void checkContents(const SCNMaterialProperty& property, const std::string& folder) {
  const FileURL* const url = std::get_if<FileURL>(&property.contents);
  fuzz::check(url == nullptr || url->path().starts_with(folder + "/model/"), "a texture stands in the model's folder");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder folder;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::size_t cut = std::min(text.find('\0'), text.size());
  folder.write("model/m.obj", text.substr(0, cut));
  folder.write("model/m.mtl", text.substr(std::min(cut + 1, text.size())));
  try {
    const auto prepared = SceneKitOBJMaterialNormalization::prepare(FileURL(folder.path() + "/model/m.obj"), {});
    for (const auto& [name, material] : readOBJMaterials(prepared)) {
      for (const SCNMaterialProperty* property : {&material->diffuse, &material->normal, &material->roughness,
                                                  &material->metalness, &material->emission, &material->transparent}) {
        checkContents(*property, folder.path());
      }
      fuzz::check(material->transparency >= 0 && material->transparency <= 1, "an opacity is one");
    }
  } catch (const SceneKitOBJMaterialError& error) {
    fuzz::check(!error.errorDescription().empty(), "a refusal has a message");
  }
  return 0;
}
