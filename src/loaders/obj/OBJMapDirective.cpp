#include "loaders/obj/OBJMapDirective.h"

#include <algorithm>
#include <iterator>

#include "foundation/NumberText.h"
#include "foundation/Text.h"
#include "loaders/obj/SceneKitOBJMaterialError.h"

namespace ornolith {

namespace {

constexpr std::string_view optionsWithNumbers[] = {"-o", "-s", "-t"};
constexpr std::string_view optionsWithOneArgument[] = {"-blendu", "-blendv",     "-boost",   "-bm",     "-cc",
                                                       "-clamp",  "-colorspace", "-imfchan", "-texres", "-type"};

template <typename List>
bool isIn(const List& list, std::string_view option) {
  return std::find(std::begin(list), std::end(list), option) != std::end(list);
}

class MapDirectiveReader {
 public:
  explicit MapDirectiveReader(const std::vector<std::string>& tokens) : tokens_(tokens) {}

  OBJMapDirective run() {
    std::vector<std::string> path;
    while (position_ < tokens_.size()) {
      const std::string& token = tokens_[position_++];
      if (!token.starts_with('-')) {
        path.push_back(token);
      } else {
        readOption(token);
      }
    }
    if (path.empty()) fail();
    result_.path = joiningWithBlanks(path);
    return std::move(result_);
  }

 private:
  [[noreturn]] void fail() const { throwMalformedDirective(joiningWithBlanks(tokens_)); }

  void readOption(const std::string& token) {
    const std::string option = lowercased(token);
    if (isIn(optionsWithNumbers, option)) {
      const std::vector<double> numbers = oneToThreeNumbers();
      if (option == "-o") result_.offset = numbers;
      if (option == "-s") result_.scale = numbers;
    } else if (option == "-mm") {
      skipArguments(2);
    } else if (isIn(optionsWithOneArgument, option)) {
      skipArguments(1);
      const std::string& argument = tokens_[position_ - 1];
      if (option == "-bm") result_.bumpMultiplier = parseDouble(argument);
      if (option == "-clamp") result_.isClamped = lowercased(argument) == "on";
    } else {
      throw SceneKitOBJMaterialError(scene_kit_obj_material_error::UnsupportedMapOption{token});
    }
  }

  std::vector<double> oneToThreeNumbers() {
    std::vector<double> numbers;
    while (numbers.size() < 3 && position_ < tokens_.size()) {
      const std::optional<double> number = parseDouble(tokens_[position_]);
      if (!number) break;
      numbers.push_back(*number);
      ++position_;
    }
    if (numbers.empty()) fail();
    return numbers;
  }

  void skipArguments(std::size_t count) {
    if (tokens_.size() - position_ < count) fail();
    position_ += count;
  }

  const std::vector<std::string>& tokens_;
  std::size_t position_ = 1;
  OBJMapDirective result_;
};

}  // namespace

OBJMapDirective readMapDirective(const std::vector<std::string>& tokens) {
  return MapDirectiveReader(tokens).run();
}

std::string joiningWithBlanks(std::span<const std::string> words) {
  std::string text;
  for (const std::string& word : words) {
    if (&word != words.data()) text += ' ';
    text += word;
  }
  return text;
}

void throwMalformedDirective(std::string_view line) {
  constexpr std::size_t bytesShown = 200;
  const std::string_view shown = trimmingWhitespace(line.substr(0, bytesShown));
  throw SceneKitOBJMaterialError(scene_kit_obj_material_error::MalformedDirective{repairingUTF8(shown)});
}

}  // namespace ornolith
