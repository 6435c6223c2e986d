#include "loaders/obj/OBJStatements.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "foundation/Parallel.h"
#include "foundation/Text.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/NumberScanner.h"
#include "loaders/mesh/TextScanner.h"

namespace ornolith {

namespace {

constexpr std::size_t stretchSize = std::size_t{4} << 20;

// While a stretch is read, nobody knows how many vertices stand before it. A negative index, which counts back from the
// corner's own line, is kept as its distance from the stretch's first vertex, with the top bit set.
constexpr std::uint32_t relativeBit = 0x80000000;
constexpr std::int64_t relativeBias = std::int64_t{1} << 30;
constexpr std::int64_t maximumIndex = relativeBias - 1;

bool isLineEnd(char letter) noexcept {
  return letter == '\n' || letter == '\r';
}

bool isSpace(char letter) noexcept {
  return letter == ' ' || letter == '\t' || letter == '\v' || letter == '\f';
}

/// Does what `scanInteger` does. The numbers of most corners are up to seven digits, which are one word (the digits are
/// added up in pairs, then in fours: D. Lemire, "Quickly parsing eight digits", 2018).
const char* scanIndex(const char* begin, const char* end, std::int64_t& value) noexcept {
  static_assert(std::endian::native == std::endian::little, "the first digit is the lowest byte");
  std::uint64_t digits = 0;
  if (end - begin < static_cast<std::ptrdiff_t>(sizeof digits)) return scanInteger(begin, end, value);
  std::memcpy(&digits, begin, sizeof digits);
  digits ^= 0x3030303030303030;
  // The lowest of these bits is right; those above it may have a carry.
  const std::uint64_t others = (digits | (digits + 0x7676767676767676)) & 0x8080808080808080;
  const auto count = static_cast<unsigned>(std::countr_zero(others)) / 8;
  if (count == 0 || count == sizeof digits) return scanInteger(begin, end, value);
  digits <<= 64 - count * 8;
  digits = digits * 10 + (digits >> 8);
  constexpr std::uint64_t secondOfFour = 0x000000FF000000FF;
  value = static_cast<std::int64_t>(
      ((digits & secondOfFour) * 0x000F424000000064 + ((digits >> 16) & secondOfFour) * 0x0000271000000001) >> 32);
  return begin + count;
}

/// A fault, and the place of it.
struct Fault {
  const char* place = nullptr;
  std::string sentence;
};

/// How many vertices, texture coordinates and normals stand before a stretch.
struct Counts {
  std::size_t positions = 0;
  std::size_t texcoords = 0;
  std::size_t normals = 0;
};

/// Reads the lines of one stretch. The text ends in a line end, so that no loop over a line's letters needs another
/// bound.
class StretchReader {
 public:
  explicit StretchReader(std::string_view text) : p_(text.data()), end_(text.data() + text.size()) {
    // Memory that is set aside and not touched costs nothing.
    constexpr std::size_t fewestBytesOfAVertex = 16;
    constexpr std::size_t fewestBytesOfACorner = 6;
    stretch_.positions.reserve(text.size() / fewestBytesOfAVertex * 3);
    stretch_.faces.reserve(text.size() / fewestBytesOfACorner);
  }

  OBJStretch run() {
    while (p_ < end_) {
      readLine();
      while (p_ < end_ && !isLineEnd(*p_)) skipLetter();
      while (p_ < end_ && (isLineEnd(*p_) || isSpace(*p_))) ++p_;
    }
    keepChangeValues();
    return std::move(stretch_);
  }

 private:
  [[noreturn]] static void fail(const char* place, std::string sentence) { throw Fault{place, std::move(sentence)}; }

  /// The end of the continuation that begins at `p`, or `p` where none does.
  const char* behindContinuation(const char* p) const {
    const char* q = p;
    if (*q != '\\') return p;
    do ++q;
    while (q < end_ && isSpace(*q));
    if (q == end_) return q;
    if (!isLineEnd(*q)) return p;
    return *q == '\r' && q + 1 < end_ && q[1] == '\n' ? q + 2 : q + 1;
  }

  void skipLetter() {
    const char* next = *p_ == '\\' ? behindContinuation(p_) : p_;
    p_ = next == p_ ? p_ + 1 : next;
  }

  void skipSpaces() {
    while (p_ < end_) {
      if (isSpace(*p_)) {
        ++p_;
      } else if (*p_ == '\\') {
        const char* next = behindContinuation(p_);
        if (next == p_) return;
        p_ = next;
      } else {
        return;
      }
    }
  }

  bool isAtLineEnd() {
    skipSpaces();
    return p_ == end_ || isLineEnd(*p_) || *p_ == '#';
  }

  bool isAtWordEnd() const { return p_ == end_ || isSpace(*p_) || isLineEnd(*p_) || *p_ == '\\'; }

  void skipWord() {
    while (p_ < end_ && !isAtWordEnd()) ++p_;
    if (p_ < end_ && *p_ == '\\' && behindContinuation(p_) == p_) {
      ++p_;
      skipWord();
    }
  }

  std::string_view rest() {
    skipSpaces();
    const char* const begin = p_;
    while (p_ < end_ && !isLineEnd(*p_)) ++p_;
    const char* last = p_;
    while (last > begin && isSpace(last[-1])) --last;
    return {begin, static_cast<std::size_t>(last - begin)};
  }

  void readLine() {
    const char* const begin = p_;
    while (!isAtWordEnd()) ++p_;
    const std::string_view keyword(begin, static_cast<std::size_t>(p_ - begin));
    if (keyword.size() == 1) {
      readStatement(keyword.front());
    } else if (keyword == "vn") {
      readNumbers(stretch_.normals, 3, 3);
    } else if (keyword == "vt") {
      readNumbers(stretch_.texcoords, 2, 1);
    } else if (keyword == "usemtl") {
      change(OBJStateKind::material);
    } else if (keyword == "fo") {
      readFace();
    }
  }

  void readStatement(char keyword) {
    switch (keyword) {
      case 'v':
        return readPosition();
      case 'f':
        return readFace();
      case 'l':
        return readLineStrip();
      case 'p':
        while (!isAtLineEnd()) readCorner(stretch_.points);
        return;
      case 'o':
        return change(OBJStateKind::object);
      case 'g':
        return change(OBJStateKind::group);
      case 's':
        return change(OBJStateKind::smoothing);
      default:
        return;
    }
  }

  // Numbers.

  float readNumber() {
    float value = 0;
    const char* const begin = p_;
    p_ = scanReal(begin, end_, value);
    if (p_ == begin) fail(begin, "a number is missing");
    if (!isAtWordEnd()) value = oddNumber(begin, value);
    return value;
  }

  /// What exporters write that is not quite a number: a decimal comma, and "1.#QNAN" or "-1.#IND" for no number. Of
  /// anything else the front counts.
  float oddNumber(const char* begin, float front) {
    const char mark = *p_;
    if (mark == ',' && p_ + 1 < end_ && number_scanner::isDigit(p_[1])) {
      const char* const comma = p_;
      skipWord();
      std::string text(begin, p_);
      text[static_cast<std::size_t>(comma - begin)] = '.';
      float value = 0;
      return scanReal(text.data(), text.data() + text.size(), value) == text.data() + text.size() ? value : front;
    }
    const bool isInfinite = mark == '#' && p_ + 1 < end_ && p_[1] == 'I' && p_ + 3 < end_ && p_[3] == 'F';
    skipWord();
    if (mark != '#') return front;
    if (!isInfinite) return std::numeric_limits<float>::quiet_NaN();
    return *begin == '-' ? -std::numeric_limits<float>::infinity() : std::numeric_limits<float>::infinity();
  }

  void readNumbers(LargeVector<float>& list, std::size_t wanted, std::size_t needed) {
    std::array<float, 3> numbers{};
    for (std::size_t i = 0; i < wanted; ++i) {
      if (isAtLineEnd()) {
        if (i < needed) fail(p_, "a number is missing");
        break;
      }
      numbers[i] = readNumber();
    }
    list.insert(list.end(), numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(wanted));
  }

  void readPosition() {
    std::array<float, 7> numbers{};
    std::size_t count = 0;
    for (; count < numbers.size() && !isAtLineEnd(); ++count) numbers[count] = readNumber();
    if (count < 3) fail(p_, "a vertex has fewer than three coordinates");
    stretch_.positions.insert(stretch_.positions.end(), numbers.begin(), numbers.begin() + 3);
    // Behind the position stand a weight, or a colour with an opacity or without, or a weight and a colour.
    if (count >= 6) {
      const std::size_t vertexCount = stretch_.positions.size() / 3;
      stretch_.colors.resize((vertexCount - 1) * 3, 1.0F);
      stretch_.colors.insert(stretch_.colors.end(), numbers.begin() + 3, numbers.begin() + 6);
    } else if (!stretch_.colors.empty()) {
      stretch_.colors.insert(stretch_.colors.end(), 3, 1.0F);
    }
  }

  // Corners.

  /// The index from 0 that the file's number means.
  std::uint32_t index(std::int64_t number, std::size_t countSoFar, const char* place) const {
    if (number > 0) {
      if (number > maximumIndex) fail(place, "an index is out of range");
      return static_cast<std::uint32_t>(number - 1);
    }
    const std::int64_t distance = static_cast<std::int64_t>(countSoFar) + number;
    if (number == 0 || number < -maximumIndex || distance < -maximumIndex || distance >= maximumIndex) {
      fail(place, "an index is out of range");
    }
    return relativeBit | static_cast<std::uint32_t>(distance + relativeBias);
  }

  /// An index behind a "/", or nothing. Some exporters write 0 for none.
  std::uint32_t furtherIndex(std::size_t countSoFar) {
    std::int64_t number = 0;
    const char* const begin = p_;
    p_ = scanIndex(begin, end_, number);
    return number == 0 ? noOBJIndex : index(number, countSoFar, begin);
  }

  static void addFurther(LargeVector<std::uint32_t>& list, std::size_t cornersBefore, std::uint32_t index) {
    if (list.empty()) {
      if (index == noOBJIndex) return;
      list.resize(cornersBefore, noOBJIndex);
    }
    list.push_back(index);
  }

  void readCorner(LargeVector<std::uint32_t>& list) {
    std::int64_t number = 0;
    const char* const begin = p_;
    p_ = scanIndex(begin, end_, number);
    if (p_ == begin) fail(begin, "an index is missing");
    const std::uint32_t position = index(number, stretch_.positions.size() / 3, begin);
    std::uint32_t texcoord = noOBJIndex;
    std::uint32_t normal = noOBJIndex;
    if (p_ < end_ && *p_ == '/') {
      ++p_;
      texcoord = furtherIndex(stretch_.texcoords.size() / 2);
      if (p_ < end_ && *p_ == '/') {
        ++p_;
        normal = furtherIndex(stretch_.normals.size() / 3);
      }
    }
    if (!isAtWordEnd() && *p_ != '#') fail(begin, "an index is not a whole number");
    list.push_back(numberOf(position, texcoord, normal));
  }

  /// The number of the corner of these indices: that of an equal one met lately, or a new one.
  std::uint32_t numberOf(std::uint32_t position, std::uint32_t texcoord, std::uint32_t normal) {
    OBJCorners& corners = stretch_.corners;
    std::uint32_t& latest = latestCorners_[(position + texcoord * 2 + normal * 4) % latestCorners_.size()];
    const std::size_t count = corners.count();
    if (latest < count && corners.positions[latest] == position && corners.texcoordOf(latest) == texcoord &&
        corners.normalOf(latest) == normal) {
      return latest;
    }
    corners.positions.push_back(position);
    addFurther(corners.texcoords, count, texcoord);
    addFurther(corners.normals, count, normal);
    latest = static_cast<std::uint32_t>(count);
    return latest;
  }

  static void addRun(std::vector<OBJRun>& runs, std::size_t corners) {
    const auto size = static_cast<std::uint32_t>(corners);
    if (runs.empty() || runs.back().cornersPerPrimitive != size) runs.push_back({size, 0});
    ++runs.back().primitiveCount;
  }

  void readFace() {
    const std::size_t before = stretch_.faces.size();
    while (!isAtLineEnd()) readCorner(stretch_.faces);
    const std::size_t corners = stretch_.faces.size() - before;
    if (corners == 0) return;
    addRun(stretch_.faceRuns, corners);
    if (corners < 3) stretch_.hasShortFaces = true;
  }

  void readLineStrip() {
    const std::size_t before = stretch_.lines.size();
    while (!isAtLineEnd()) readCorner(stretch_.lines);
    const std::size_t corners = stretch_.lines.size() - before;
    if (corners > 0) addRun(stretch_.lineRuns, corners);
  }

  // Statements that hold for what follows.

  void change(OBJStateKind kind) {
    OBJStateChange next{.kind = kind,
                        .value = rest(),
                        .faceCorners = stretch_.faces.size(),
                        .lineCorners = stretch_.lines.size(),
                        .pointCorners = stretch_.points.size()};
    // Those that nothing stands behind are forgotten, so that a file of nothing else costs no memory.
    std::vector<OBJStateChange>& changes = stretch_.changes;
    std::size_t first = changes.size();
    while (first > 0 && changes[first - 1].faceCorners == next.faceCorners &&
           changes[first - 1].lineCorners == next.lineCorners && changes[first - 1].pointCorners == next.pointCorners) {
      --first;
    }
    const auto isReplaced = [kind](const OBJStateChange& earlier) {
      return earlier.kind == kind || (kind == OBJStateKind::object && earlier.kind == OBJStateKind::group);
    };
    changes.erase(std::remove_if(changes.begin() + static_cast<std::ptrdiff_t>(first), changes.end(), isReplaced),
                  changes.end());
    changes.push_back(next);
  }

  void keepChangeValues() {
    std::size_t size = 0;
    for (const OBJStateChange& change : stretch_.changes) size += change.value.size();
    stretch_.changeValues.resize(size);
    char* place = stretch_.changeValues.data();
    for (OBJStateChange& change : stretch_.changes) {
      char* const end = std::copy(change.value.begin(), change.value.end(), place);
      change.value = {std::exchange(place, end), change.value.size()};
    }
  }

  const char* p_;
  const char* end_;
  OBJStretch stretch_;
  // By some bits of their indices; those of two rows of a mesh find room.
  std::vector<std::uint32_t> latestCorners_ = std::vector<std::uint32_t>(std::size_t{1} << 15);
};

/// One stretch's text, or the fault in it.
struct Stretch {
  std::string_view text;
  std::optional<Fault> fault;
};

bool endsInContinuation(std::string_view line) {
  while (!line.empty() && (isLineEnd(line.back()) || isSpace(line.back()))) line.remove_suffix(1);
  return !line.empty() && line.back() == '\\';
}

/// Cuts the text behind line ends that no line goes on over.
std::vector<Stretch> cutIntoStretches(std::string_view text) {
  std::vector<Stretch> stretches;
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = std::min(begin + stretchSize, text.size());
    while (end < text.size()) {
      end = std::min(text.find('\n', end), text.size() - 1) + 1;
      const std::size_t lookBack = std::min<std::size_t>(end - begin, 64);
      if (!endsInContinuation(text.substr(end - lookBack, lookBack))) break;
    }
    stretches.push_back({text.substr(begin, end - begin), std::nullopt});
    begin = end;
  }
  return stretches;
}

void throwFirstFault(const std::vector<Stretch>& stretches, std::string_view text) {
  for (const Stretch& stretch : stretches) {
    if (!stretch.fault) continue;
    const auto position = static_cast<std::size_t>(stretch.fault->place - text.data());
    throwMalformedMesh("The OBJ file is damaged: " + stretch.fault->sentence + " in line " +
                       std::to_string(lineNumberAt(text, position)) + ".");
  }
}

/// Turns distances from the stretch's first vertex into indices and checks them all.
void settleIndices(LargeVector<std::uint32_t>& indices, std::size_t before, std::size_t count, bool mayBeMissing,
                   const char* kind) {
  for (std::uint32_t& index : indices) {
    if (index < count) continue;
    if (mayBeMissing && index == noOBJIndex) continue;
    if ((index & relativeBit) != 0 && index != noOBJIndex) {
      const std::int64_t settled =
          static_cast<std::int64_t>(before) + static_cast<std::int64_t>(index & ~relativeBit) - relativeBias;
      if (settled >= 0 && static_cast<std::uint64_t>(settled) < count) {
        index = static_cast<std::uint32_t>(settled);
        continue;
      }
    }
    throwMalformedMesh("The OBJ file is damaged: it refers to a " + std::string(kind) +
                       " that it does not have; it has " + std::to_string(count) + ".");
  }
}

void settleCorners(OBJCorners& corners, const Counts& before, const Counts& all) {
  settleIndices(corners.positions, before.positions, all.positions, false, "vertex");
  settleIndices(corners.texcoords, before.texcoords, all.texcoords, true, "texture coordinate");
  settleIndices(corners.normals, before.normals, all.normals, true, "normal");
}

/// How many vertices, texture coordinates and normals stand before each stretch, and in the end in all of them.
std::vector<Counts> countsBefore(const std::vector<OBJStretch>& stretches) {
  std::vector<Counts> before(1);
  for (const OBJStretch& stretch : stretches) {
    before.push_back({.positions = before.back().positions + stretch.positions.size() / 3,
                      .texcoords = before.back().texcoords + stretch.texcoords.size() / 2,
                      .normals = before.back().normals + stretch.normals.size() / 3});
  }
  return before;
}

/// Moves a stretch's part of a list to its place.
void move(LargeVector<float>& part, LargeVector<float>& all, std::size_t place) {
  if (part.empty()) return;
  std::copy(part.begin(), part.end(), all.begin() + static_cast<std::ptrdiff_t>(place));
  giveBack(part);
}

/// Moves what the corners refer to out of the stretches, and settles the corners' indices.
void join(OBJStatements& statements) {
  std::vector<OBJStretch>& stretches = statements.stretches;
  const std::vector<Counts> before = countsBefore(stretches);
  const bool hasColors = std::any_of(stretches.begin(), stretches.end(),
                                     [](const OBJStretch& stretch) { return !stretch.colors.empty(); });
  statements.positions.resize(before.back().positions * 3);
  statements.texcoords.resize(before.back().texcoords * 2);
  statements.normals.resize(before.back().normals * 3);
  if (hasColors) statements.colors.resize(statements.positions.size());
  std::vector<std::exception_ptr> faults(stretches.size());
  parallelFor(stretches.size(), 1, [&](std::size_t i) {
    OBJStretch& stretch = stretches[i];
    if (hasColors) {
      stretch.colors.resize(stretch.positions.size(), 1.0F);
      move(stretch.colors, statements.colors, before[i].positions * 3);
    }
    move(stretch.positions, statements.positions, before[i].positions * 3);
    move(stretch.texcoords, statements.texcoords, before[i].texcoords * 2);
    move(stretch.normals, statements.normals, before[i].normals * 3);
    try {
      settleCorners(stretch.corners, before[i], before.back());
    } catch (const MeshReadError&) {
      faults[i] = std::current_exception();
    }
  });
  for (const std::exception_ptr& fault : faults) {
    if (fault) std::rethrow_exception(fault);
  }
}

}  // namespace

OBJStatements readOBJStatements(std::string_view text, const BytesRead& whenRead) {
  std::vector<Stretch> stretches = cutIntoStretches(text);
  OBJStatements statements;
  statements.stretches.resize(stretches.size());
  parallelFor(stretches.size(), 1, [&](std::size_t i) {
    try {
      statements.stretches[i] = StretchReader(stretches[i].text).run();
      noteBytesRead(whenRead, std::as_bytes(std::span(stretches[i].text)));
    } catch (Fault& fault) {
      stretches[i].fault = std::move(fault);
    }
  });
  throwFirstFault(stretches, text);
  join(statements);
  return statements;
}

}  // namespace ornolith
