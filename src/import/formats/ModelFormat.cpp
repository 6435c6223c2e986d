#include "import/formats/ModelFormat.h"

namespace ornolith {

std::string supportedFileListDescription() {
  std::string list;
  for (const ModelFormat format : allModelFormats) {
    if (!list.empty()) list += ", ";
    for (const char letter : rawValue(format)) list += static_cast<char>(letter - 'a' + 'A');
  }
  return list;
}

}  // namespace ornolith
