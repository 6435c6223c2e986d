#include <simdjson.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>
#include <system_error>

#include "foundation/ByteOrderMark.h"
#include "foundation/JSON.h"
#include "foundation/JSONFaultFinder.h"

namespace ornolith {
namespace {

namespace dom = simdjson::dom;
using Handle = std::array<std::byte, 16>;

// Numbers.

/// True where the number token loses something when the parser reads it as an integer: negative zero its sign, and a
/// number beyond 64 bits everything.
bool isIntegerBeyondTheParser(std::string_view token) {
  if (token == "-0") return true;
  if (token.size() < 19 || token.find_first_not_of("0123456789", 1) != std::string_view::npos) return false;
  const auto isOutOfRange = [&](auto value) {
    return std::from_chars(token.data(), token.data() + token.size(), value).ec == std::errc::result_out_of_range;
  };
  return token.front() == '-' ? isOutOfRange(std::int64_t{}) : isOutOfRange(std::uint64_t{});
}

/// The end of the string that begins at `start` with a quote.
std::size_t endOfString(std::string_view text, std::size_t start) {
  for (std::size_t at = start + 1; at < text.size(); ++at) {
    if (text[at] == '"') return at + 1;
    if (text[at] == '\\') ++at;
  }
  return text.size();
}

/// The text with ".0" behind each integer that the parser cannot take as one, so that it is read as a double.
std::string writingLargeIntegersAsReals(std::string_view text) {
  std::string result;
  result.reserve(text.size() + 16);
  std::size_t copied = 0;
  for (std::size_t at = text.find_first_of("\"-0123456789"); at != std::string_view::npos;
       at = text.find_first_of("\"-0123456789", at)) {
    if (text[at] == '"') {
      at = endOfString(text, at);
      continue;
    }
    const std::size_t end = std::min(text.find_first_not_of("0123456789+-.eE", at), text.size());
    if (isIntegerBeyondTheParser(text.substr(at, end - at))) {
      result += text.substr(copied, end - copied);
      result += ".0";
      copied = end;
    }
    at = end;
  }
  return result += text.substr(copied);
}

/// True where a negative zero may stand in the text as an integer. Cheap, and seldom true in vain.
bool mayHoldNegativeZero(std::string_view text) {
  for (std::size_t at = text.find("-0"); at != std::string_view::npos; at = text.find("-0", at + 2)) {
    if (at + 2 >= text.size() || std::string_view(".eE0123456789").find(text[at + 2]) == std::string_view::npos) {
      return true;
    }
  }
  return false;
}

/// Parses into `document`; false where the text is refused.
bool parseInto(dom::document& document, std::string_view text) {
  std::vector<char> padded(text.size() + simdjson::SIMDJSON_PADDING);
  std::copy(text.begin(), text.end(), padded.begin());
  dom::parser parser;
  // The parser counts the document itself as a level.
  simdjson::error_code error = parser.allocate(text.size(), maximumJSONDepth + 1);
  if (error == simdjson::SUCCESS)
    error = parser.parse_into_document(document, padded.data(), text.size(), false).error();
  if (error == simdjson::MEMALLOC) throw std::bad_alloc();
  return error == simdjson::SUCCESS;
}

// Elements.

static_assert(sizeof(dom::element) == sizeof(Handle));

dom::element elementOf(const Handle& handle) {
  return std::bit_cast<dom::element>(handle);
}
Handle handleOf(const dom::element& element) {
  return std::bit_cast<Handle>(element);
}

std::string_view nameOf(JSONElement::Kind kind) {
  switch (kind) {
    case JSONElement::Kind::null:
      return "null";
    case JSONElement::Kind::boolean:
      return "a boolean";
    case JSONElement::Kind::number:
      return "a number";
    case JSONElement::Kind::string:
      return "a string";
    case JSONElement::Kind::array:
      return "a list";
    case JSONElement::Kind::object:
      return "an object";
  }
  return {};
}

JSONError unexpectedKind(const JSONElement& element, JSONElement::Kind expected) {
  return element.fault("Expected " + std::string(nameOf(expected)) + " but found " +
                       std::string(nameOf(element.kind())) + ".");
}

/// The parser's value of `element`, which must be of type `T`.
template <typename T>
T read(const JSONElement& element, const Handle& handle, JSONElement::Kind expected) {
  T value;
  if (elementOf(handle).get(value) != simdjson::SUCCESS) throw unexpectedKind(element, expected);
  return value;
}

// Places.

bool isPlainKey(std::string_view key) {
  const auto isPlain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  };
  return !key.empty() && std::all_of(key.begin(), key.end(), isPlain);
}

/// The step from an object to its member: ".id", or ["any text"].
std::string step(std::string_view key) {
  if (isPlainKey(key)) return "." + std::string(key);
  return "[\"" + std::string(key) + "\"]";
}

/// The steps from `element` to the element of `target`; nothing where that is not inside. As deep as the document.
std::optional<std::string> findPlace(const dom::element& element, const Handle& target) {
  if (handleOf(element) == target) return std::string();
  if (dom::object object; element.get(object) == simdjson::SUCCESS) {
    for (const auto& [key, value] : object) {
      if (const auto rest = findPlace(value, target)) return step(key) + *rest;
    }
  } else if (dom::array array; element.get(array) == simdjson::SUCCESS) {
    std::size_t index = 0;
    for (const dom::element value : array) {
      if (const auto rest = findPlace(value, target)) return "[" + std::to_string(index) + "]" + *rest;
      ++index;
    }
  }
  return std::nullopt;
}

}  // namespace

std::string JSONError::describe(const json_error::Malformed& malformed) {
  return malformed.place.empty() ? malformed.description : malformed.place + ": " + malformed.description;
}

struct JSONDocument::Storage {
  dom::document document;
};

JSONDocument::JSONDocument(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}
JSONDocument::JSONDocument(JSONDocument&&) noexcept = default;
JSONDocument& JSONDocument::operator=(JSONDocument&&) noexcept = default;
JSONDocument::~JSONDocument() = default;

JSONDocument JSONDocument::parse(std::span<const std::byte> bytes) {
  const std::string_view text = withoutByteOrderMark({reinterpret_cast<const char*>(bytes.data()), bytes.size()});

  auto storage = std::make_unique<Storage>();
  const bool isParsed = !text.empty() && !mayHoldNegativeZero(text) && parseInto(storage->document, text);
  if (!isParsed && (text.empty() || !parseInto(storage->document, writingLargeIntegersAsReals(text)))) {
    const std::optional<json_error::Malformed> fault = findJSONFault(text);
    throw JSONError(fault.value_or(json_error::Malformed{.description = "The text is no JSON.", .place = {}}));
  }
  return JSONDocument(std::move(storage));
}

JSONElement JSONDocument::root() const {
  return {&storage_->document, handleOf(storage_->document.root())};
}

JSONElement::Kind JSONElement::kind() const {
  switch (elementOf(handle_).type()) {
    case dom::element_type::ARRAY:
      return Kind::array;
    case dom::element_type::OBJECT:
      return Kind::object;
    case dom::element_type::INT64:
    case dom::element_type::UINT64:
    case dom::element_type::DOUBLE:
      return Kind::number;
    case dom::element_type::STRING:
      return Kind::string;
    case dom::element_type::BOOL:
      return Kind::boolean;
    case dom::element_type::NULL_VALUE:
      break;
  }
  return Kind::null;
}

JSONElement JSONElement::value(std::string_view key) const {
  const auto object = read<dom::object>(*this, handle_, Kind::object);
  dom::element element;
  if (object.at_key(key).get(element) != simdjson::SUCCESS) {
    throw fault("The required key \"" + std::string(key) + "\" is missing.");
  }
  const JSONElement found(document_, handleOf(element));
  if (found.isNull()) throw found.fault("The value is required and must not be null.");
  return found;
}

std::optional<JSONElement> JSONElement::optionalValue(std::string_view key) const {
  const auto object = read<dom::object>(*this, handle_, Kind::object);
  dom::element element;
  if (object.at_key(key).get(element) != simdjson::SUCCESS || element.is_null()) return std::nullopt;
  return JSONElement(document_, handleOf(element));
}

std::vector<std::pair<std::string, JSONElement>> JSONElement::members() const {
  const auto object = read<dom::object>(*this, handle_, Kind::object);
  std::vector<std::pair<std::string, JSONElement>> members;
  members.reserve(object.size());
  for (const auto& [key, value] : object) {
    members.emplace_back(std::string(key), JSONElement(document_, handleOf(value)));
  }
  return members;
}

std::vector<JSONElement> JSONElement::elements() const {
  const auto array = read<dom::array>(*this, handle_, Kind::array);
  std::vector<JSONElement> elements;
  elements.reserve(array.size());
  for (const dom::element element : array) elements.push_back(JSONElement(document_, handleOf(element)));
  return elements;
}

std::string JSONElement::asString() const {
  return std::string(read<std::string_view>(*this, handle_, Kind::string));
}

bool JSONElement::asBool() const {
  return read<bool>(*this, handle_, Kind::boolean);
}

std::int64_t JSONElement::asInteger() const {
  const dom::element element = elementOf(handle_);
  if (element.type() == dom::element_type::INT64) return read<std::int64_t>(*this, handle_, Kind::number);
  const double number = asDouble();
  if (number != std::trunc(number)) throw fault("Expected a whole number.");
  constexpr double limit = 0x1p63;
  if (element.type() == dom::element_type::UINT64 || number < -limit || number >= limit) {
    throw fault("The number does not fit in a signed 64-bit integer.");
  }
  return static_cast<std::int64_t>(number);
}

double JSONElement::asDouble() const {
  return read<double>(*this, handle_, Kind::number);
}

float JSONElement::asFloat() const {
  const double number = asDouble();
  // The greatest double that still rounds to a finite float lies just below the middle between the last float and
  // 2^128.
  constexpr double limit = 0x1.ffffffp127;
  if (std::abs(number) >= limit) throw fault("The number does not fit in a 32-bit float.");
  return static_cast<float>(number);
}

std::string JSONElement::place() const {
  const auto* document = static_cast<const dom::document*>(document_);
  const std::string place = findPlace(document->root(), handle_).value_or(std::string());
  if (place.empty()) return "the document";
  return place.front() == '.' ? place.substr(1) : place;
}

JSONError JSONElement::fault(std::string description) const {
  const auto* document = static_cast<const dom::document*>(document_);
  const bool isRoot = handleOf(document->root()) == handle_;
  return JSONError(
      json_error::Malformed{.description = std::move(description), .place = isRoot ? std::string() : place()});
}

}  // namespace ornolith
