#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ornolith::testsupport {

/// A fresh folder of a test's own, removed with all that is in it when the test ends.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = "/tmp/ornolith-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const noexcept { return path_; }
  std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

  /// Makes the folders above it too.
  std::string makeFile(std::string_view name, std::string_view contents = "") const {
    const std::string file = *this / name;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << contents;
    return file;
  }
  std::string makeDirectory(std::string_view name) const {
    const std::string directory = *this / name;
    std::filesystem::create_directories(directory);
    return directory;
  }
  std::string makeLink(std::string_view name, const std::string& target) const {
    const std::string link = *this / name;
    std::filesystem::create_symlink(target, link);
    return link;
  }

 private:
  std::string path_;
};

/// All bytes of a file; empty where it cannot be read.
inline std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace ornolith::testsupport
