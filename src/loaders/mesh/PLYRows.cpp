#include "loaders/mesh/PLYRows.h"

#include <algorithm>

#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/NumberScanner.h"

namespace ornolith {

namespace {

bool isBlank(char letter) noexcept {
  return static_cast<unsigned char>(letter) <= ' ';
}

PLYByteOrder orderOf(PLYFormat format) noexcept {
  const bool isBig = format == PLYFormat::binaryBigEndian;
  return isBig == (std::endian::native == std::endian::big) ? PLYByteOrder::native : PLYByteOrder::swapped;
}

const char* textAt(const std::byte* place) noexcept {
  return reinterpret_cast<const char*>(place);
}

}  // namespace

PLYRows::PLYRows(std::span<const std::byte> rows, PLYFormat format, const BytesRead& whenRead)
    : place_(rows.data()),
      end_(rows.data() + rows.size()),
      noted_(place_),
      whenRead_(&whenRead),
      isText_(format == PLYFormat::ascii),
      order_(orderOf(format)) {}

void PLYRows::skipBlanks() noexcept {
  while (place_ != end_ && isBlank(*textAt(place_))) ++place_;
}

template <typename Real>
Real PLYRows::nextOfText() {
  skipBlanks();
  Real value = 0;
  const char* stop = scanReal(textAt(place_), textAt(end_), value);
  const bool isNumber = stop != textAt(place_) && (stop == textAt(end_) || isBlank(*stop));
  if (!isNumber) fail("has no number");
  place_ += stop - textAt(place_);
  return value;
}
template float PLYRows::nextOfText<float>();
template double PLYRows::nextOfText<double>();

double PLYRows::nextOfBinary(PLYType type) {
  const std::size_t size = sizeOf(type);
  if (rest().size() < size) fail("ends");
  const std::byte* place = std::exchange(place_, place_ + size);
  return withValueType(type, order_, [&]<typename Value, PLYByteOrder order>() {
    return static_cast<double>(valueAt<Value, order>(place));
  });
}

std::size_t PLYRows::nextCount(const PLYProperty& list) {
  const double count = next(*list.countType);
  // A value takes a blank and a digit in text.
  const std::size_t most = rest().size() / (isText_ ? 2 : sizeOf(list.type));
  if (!(count >= 0 && count <= static_cast<double>(most)) ||
      count != static_cast<double>(static_cast<std::size_t>(count))) {
    fail("has an impossible list length");
  }
  return static_cast<std::size_t>(count);
}

void PLYRows::skip(PLYType type, std::size_t count) {
  if (!isText_) {
    if (rest().size() / sizeOf(type) < count) fail("ends");
    return advance(count * sizeOf(type));
  }
  for (; count > 0; --count) {
    skipBlanks();
    if (place_ == end_) fail("has no number");
    while (place_ != end_ && !isBlank(*textAt(place_))) ++place_;
  }
}

void PLYRows::skip(const PLYElement& element) {
  if (element.properties.empty()) return;
  if (!isText_ && !hasLists(element)) {
    const std::size_t rowSize = rowSizeOf(element);
    const std::uint64_t held = rest().size() / rowSize;
    enter(element, std::min(held, element.count));
    if (held < element.count) fail("ends");
    return advance(element.count * rowSize);
  }
  for (std::uint64_t row = 0; row < element.count; ++row) {
    enter(element, row);
    for (const PLYProperty& property : element.properties) skip(property);
  }
}

void PLYRows::fail(const std::string& fault) const {
  throwMalformedMesh("The PLY file " + fault + " in row " + std::to_string(row_) + " of the element \"" +
                     element_->name + "\".");
}

std::size_t rowSizeOf(const PLYElement& element) noexcept {
  std::size_t size = 0;
  for (const PLYProperty& property : element.properties) size += sizeOf(property.type);
  return size;
}

bool hasLists(const PLYElement& element) noexcept {
  return std::any_of(element.properties.begin(), element.properties.end(),
                     [](const PLYProperty& property) { return property.countType.has_value(); });
}

}  // namespace ornolith
