#include "import/formats/ModelFormat.h"

namespace ornolith {

std::string uppercasedRawValue(ModelFormat format) {
  std::string text(rawValue(format));
  for (char& letter : text) letter = static_cast<char>(letter - 'a' + 'A');
  return text;
}

std::string supportedFileListDescription() {
  std::string list;
  for (const ModelFormat format : allModelFormats) {
    if (!list.empty()) list += ", ";
    list += uppercasedRawValue(format);
  }
  return list;
}

}  // namespace ornolith
