#include "foundation/FileURL.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <vector>

#include "foundation/SystemError.h"
#include "foundation/Text.h"

namespace ornolith {

namespace {

std::string currentDirectory() {
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  const std::unique_ptr<char, Free> path(::getcwd(nullptr, 0));
  if (!path) throw SystemError("found", ".", errno);
  return path.get();
}

/// Where the extension's dot stands in a last path component; npos where it has no extension.
std::size_t extensionDot(std::string_view component) {
  const std::size_t dot = component.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == component.size()) return std::string_view::npos;
  return dot;
}

}  // namespace

std::string standardizingPath(std::string_view path) {
  const bool isAbsolute = path.starts_with('/');
  std::vector<std::string_view> kept;
  std::size_t begin = 0;
  while (begin <= path.size()) {
    std::size_t end = path.find('/', begin);
    if (end == std::string_view::npos) end = path.size();
    const std::string_view segment = path.substr(begin, end - begin);
    begin = end + 1;
    if (segment.empty() || segment == ".") continue;
    if (segment == "..") {
      if (!kept.empty() && kept.back() != "..") {
        kept.pop_back();
        continue;
      }
      if (isAbsolute) continue;
    }
    kept.push_back(segment);
  }

  std::string result;
  result.reserve(path.size());
  if (isAbsolute) result += '/';
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i > 0) result += '/';
    result += kept[i];
  }
  return result;
}

FileURL::FileURL(std::string_view path, bool isDirectory) : isDirectory_(isDirectory || path.ends_with('/')) {
  if (path.starts_with('/')) {
    path_ = standardizingPath(path);
  } else {
    path_ = standardizingPath(currentDirectory() + '/' + std::string(path));
  }
}

std::string FileURL::lastPathComponent() const {
  if (path_ == "/") return path_;
  return path_.substr(path_.rfind('/') + 1);
}

std::string FileURL::pathExtension() const {
  const std::string component = lastPathComponent();
  const std::size_t dot = extensionDot(component);
  return dot == std::string::npos ? std::string() : component.substr(dot + 1);
}

std::string FileURL::lowercasedPathExtension() const {
  return lowercased(pathExtension());
}

std::string FileURL::lastPathComponentWithoutExtension() const {
  const std::string component = lastPathComponent();
  return component.substr(0, extensionDot(component));
}

FileURL FileURL::deletingLastPathComponent() const {
  FileURL parent;
  parent.isDirectory_ = true;
  if (path_.empty()) return parent;
  const std::size_t slash = path_.rfind('/');
  parent.path_ = slash == 0 ? "/" : path_.substr(0, slash);
  return parent;
}

FileURL FileURL::appendingPathComponent(std::string_view component, bool isDirectory) const {
  FileURL child;
  child.isDirectory_ = isDirectory || component.ends_with('/');
  child.path_ = standardizingPath(path_ + '/' + std::string(component));
  return child;
}

}  // namespace ornolith
