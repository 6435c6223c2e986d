#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/Error.h"

namespace ornolith {

// Reading. The reader is strict: UTF-8 (a byte order mark in front is ignored), one value, no trailing text, no lone
// surrogates, nesting up to a fixed depth, and every number must be one that a double can hold. Of a repeated key the
// first counts.

/// How deep lists and objects may be nested, in reading and in writing; one that is empty does not count.
inline constexpr std::size_t maximumJSONDepth = 512;

namespace json_error {
struct Malformed {
  std::string description;  ///< One English sentence.
  std::string place{};      ///< What it is about: "poses[3].id", or "line 3, column 14"; empty for the whole document.
  bool operator==(const Malformed&) const = default;
};
}  // namespace json_error

/// The text is no JSON, or a value has not the type, key or form that its reader requires. The text for the user is the
/// description with "<place>: " in front where there is a place.
class JSONError final : public TypedError<JSONError, json_error::Malformed> {
 public:
  using TypedError::TypedError;
  static std::string describe(const json_error::Malformed& malformed);
};

class JSONElement;

/// A parsed JSON text; it owns what its elements refer to.
class JSONDocument {
 public:
  /// Throws `JSONError`. Memory is bounded by a small multiple of the text.
  static JSONDocument parse(std::span<const std::byte> text);
  JSONDocument(JSONDocument&&) noexcept;
  JSONDocument& operator=(JSONDocument&&) noexcept;
  ~JSONDocument();

  JSONElement root() const;

 private:
  struct Storage;
  explicit JSONDocument(std::unique_ptr<Storage> storage);
  std::unique_ptr<Storage> storage_;
};

/// One value of a `JSONDocument`, which must outlive it. Cheap to copy.
class JSONElement {
 public:
  enum class Kind { null, boolean, number, string, array, object };
  Kind kind() const;
  bool isNull() const { return kind() == Kind::null; }

  /// The value of `key`, which must be there and not null; throws `JSONError` otherwise, and where this is no object.
  JSONElement value(std::string_view key) const;
  /// The value of `key`, or nothing where it is absent or null. Throws where this is no object.
  std::optional<JSONElement> optionalValue(std::string_view key) const;
  /// The keys and values of an object in document order, repeats included. Throws where this is no object.
  std::vector<std::pair<std::string, JSONElement>> members() const;
  /// The elements of an array. Throws where this is no array.
  std::vector<JSONElement> elements() const;

  // Strict reads: another type throws `JSONError` that names the place.
  std::string asString() const;
  bool asBool() const;
  /// A number without a fraction that fits (2, 2.0 and 2e0 are all the integer 2).
  std::int64_t asInteger() const;
  double asDouble() const;
  /// The double nearest to the number, rounded to 32 bits; throws where that is not finite.
  float asFloat() const;

  /// Where this value stands: "poses[3].id", or "the document" for the root. For messages: it is found by a walk
  /// through the document.
  std::string place() const;

  /// The error to throw where this value breaks a rule of its reader. `description` is one sentence.
  JSONError fault(std::string description) const;

 private:
  friend class JSONDocument;
  // A handle of the parser's own, opaque here, so that its header stays out of this one.
  using Handle = std::array<std::byte, 16>;
  JSONElement(const void* document, const Handle& handle) : document_(document), handle_(handle) {}

  const void* document_;
  alignas(8) Handle handle_;
};

// Writing.

/// A JSON value to be written. Objects keep the order in which their members were added.
class JSONValue {
 public:
  using Array = std::vector<JSONValue>;
  using Object = std::vector<std::pair<std::string, JSONValue>>;

  /// A list whose elements are made one at a time while it is written, so that a long one takes no memory beyond its
  /// text. What `element` refers to must outlive the value.
  struct LazyArray {
    std::size_t count = 0;
    std::function<JSONValue(std::size_t index)> element;
  };

  JSONValue() : value_(nullptr) {}
  JSONValue(std::nullptr_t) : value_(nullptr) {}
  JSONValue(bool value) : value_(value) {}
  JSONValue(int value) : value_(static_cast<std::int64_t>(value)) {}
  JSONValue(std::int64_t value) : value_(value) {}
  JSONValue(std::uint64_t value) : value_(value) {}
  /// Must be finite when it is written. A float is written with the shortest text that reads back as the same float.
  JSONValue(double value) : value_(value) {}
  JSONValue(float value) : value_(value) {}
  JSONValue(const char* value) : value_(std::string(value)) {}
  JSONValue(std::string_view value) : value_(std::string(value)) {}
  JSONValue(std::string value) : value_(std::move(value)) {}
  JSONValue(Array value) : value_(std::move(value)) {}
  JSONValue(LazyArray value) : value_(std::move(value)) {}
  JSONValue(Object value) : value_(std::move(value)) {}

  const auto& storage() const noexcept { return value_; }

 private:
  std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, float, std::string, Array, LazyArray, Object>
      value_;
};

enum class JSONKeyOrder { asAdded, sortedByBytes };

/// The canonical text: two blanks a level, `"key" : value`, "/" written as "\/", control characters escaped and all
/// else kept as UTF-8, "[\n\n]" and "{\n\n}" at their level for empty lists and objects, and exactly one newline at the
/// end. Keys stand in byte order, or as they were added.
///
/// Floating-point numbers have the fewest digits that read back as the same value, laid out as in RFC 8785: plain from
/// 1e-6 up to but not including 1e21 (whole values without a fraction), with an exponent ("1e+21", "2.5e-7") beyond.
/// Unlike there, negative zero keeps its sign ("-0").
///
/// Throws `JSONError` for a number that is not finite, a text that is not UTF-8, or nesting over `maximumJSONDepth`.
std::string canonicalJSON(const JSONValue& value, JSONKeyOrder order = JSONKeyOrder::sortedByBytes);

/// The same value on one line without blanks or a trailing newline, members as they were added.
std::string compactJSON(const JSONValue& value);

}  // namespace ornolith
