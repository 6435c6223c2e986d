#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <utility>

#include "loaders/mesh/BytesRead.h"
#include "loaders/mesh/PLYHeader.h"

namespace ornolith {

/// How the values of a binary file stand there.
enum class PLYByteOrder { native, swapped };

/// The value at `place`, which may have any address.
template <typename Value, PLYByteOrder order>
Value valueAt(const std::byte* place) noexcept {
  if constexpr (order == PLYByteOrder::native) {
    Value value{};
    std::memcpy(&value, place, sizeof value);
    return value;
  } else {
    std::byte turned[sizeof(Value)];
    for (std::size_t i = 0; i < sizeof(Value); ++i) turned[i] = place[sizeof(Value) - 1 - i];
    return valueAt<Value, PLYByteOrder::native>(turned);
  }
}

/// Calls `body.operator()<Value, order>()` with the C++ type of a PLY type.
template <PLYByteOrder order, typename Body>
decltype(auto) withValueType(PLYType type, const Body& body) {
  switch (type) {
    case PLYType::int8:
      return body.template operator()<std::int8_t, order>();
    case PLYType::uint8:
      return body.template operator()<std::uint8_t, order>();
    case PLYType::int16:
      return body.template operator()<std::int16_t, order>();
    case PLYType::uint16:
      return body.template operator()<std::uint16_t, order>();
    case PLYType::int32:
      return body.template operator()<std::int32_t, order>();
    case PLYType::uint32:
      return body.template operator()<std::uint32_t, order>();
    case PLYType::float32:
      return body.template operator()<float, order>();
    case PLYType::float64:
      break;
  }
  return body.template operator()<double, order>();
}
template <typename Body>
decltype(auto) withValueType(PLYType type, PLYByteOrder order, const Body& body) {
  return order == PLYByteOrder::native ? withValueType<PLYByteOrder::native>(type, body)
                                       : withValueType<PLYByteOrder::swapped>(type, body);
}

/// Goes through the values of a PLY file's rows, one after the other. Each function throws `MeshReadError` where the
/// file does not hold what is asked for; the sentence names the row that was entered last. `whenRead` must outlive the
/// object and its copies.
class PLYRows {
 public:
  PLYRows(std::span<const std::byte> rows, PLYFormat format, const BytesRead& whenRead);

  void enter(const PLYElement& element, std::uint64_t row) noexcept {
    element_ = &element;
    row_ = row;
    if (place_ - noted_ >= static_cast<std::ptrdiff_t>(bytesOfAPart)) notePart();
  }
  /// Tells that all before the next value has been read. `enter` does so now and then.
  void notePart() {
    noteBytesRead(*whenRead_, {noted_, place_});
    noted_ = place_;
  }

  bool isText() const noexcept { return isText_; }
  PLYByteOrder byteOrder() const noexcept { return order_; }

  /// The next value, of the type in a binary file.
  double next(PLYType type) { return isText_ ? nextOfText<double>() : nextOfBinary(type); }
  /// The next value rounded once.
  float nextFloat(PLYType type) { return isText_ ? nextOfText<float>() : static_cast<float>(nextOfBinary(type)); }
  /// How many values the list has whose count stands next. The file can hold them.
  std::size_t nextCount(const PLYProperty& list);

  /// Passes over values.
  void skip(PLYType type, std::size_t count);
  void skip(const PLYProperty& property) { skip(property.type, property.countType ? nextCount(property) : 1); }
  void skip(const PLYElement& element);

  /// The bytes that are left, and passing over some of them; of binary files.
  std::span<const std::byte> rest() const noexcept { return {place_, static_cast<std::size_t>(end_ - place_)}; }
  void advance(std::size_t byteCount) noexcept { place_ += byteCount; }

  [[noreturn]] void fail(const std::string& fault) const;

 private:
  template <typename Real>
  Real nextOfText();
  double nextOfBinary(PLYType type);
  void skipBlanks() noexcept;

  const std::byte* place_;
  const std::byte* end_;
  const std::byte* noted_;  // Where what `whenRead_` does not know of begins.
  const BytesRead* whenRead_;
  bool isText_;
  PLYByteOrder order_;
  const PLYElement* element_ = nullptr;
  std::uint64_t row_ = 0;
};

/// The bytes of a row of an element without lists in a binary file.
std::size_t rowSizeOf(const PLYElement& element) noexcept;
bool hasLists(const PLYElement& element) noexcept;

}  // namespace ornolith
