#include "loaders/obj/OBJMaterialName.h"

#include <algorithm>

#include "foundation/Text.h"

namespace ornolith {

std::string_view behindOBJDirective(std::string_view line) {
  constexpr std::string_view blanks = " \t\v\f\r";
  const std::size_t begin = std::min(line.find_first_not_of(blanks), line.size());
  return line.substr(std::min(line.find_first_of(blanks, begin), line.size()));
}

std::string objMaterialName(std::string_view rest) {
  std::string_view text = trimmingWhitespace(rest);
  if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front()) {
    text = text.substr(1, text.size() - 2);
  }
  std::string name;
  for (const char letter : text) {
    const bool isBlankLetter = letter == ' ' || letter == '\t';
    if (isBlankLetter && name.ends_with(' ')) continue;
    name += isBlankLetter ? ' ' : letter;
  }
  return repairingUTF8(name);
}

std::string objMaterialNameBeforeComment(std::string_view rest) {
  const std::size_t comment = rest.find('#');
  return comment == std::string_view::npos ? std::string() : objMaterialName(rest.substr(0, comment));
}

}  // namespace ornolith
