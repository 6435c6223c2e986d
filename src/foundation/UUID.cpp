#include "foundation/UUID.h"

#include <sys/random.h>

#include <cerrno>

#include "foundation/NumberText.h"
#include "foundation/SystemError.h"

namespace ornolith {

namespace {

constexpr bool isDashPosition(std::size_t byteIndex) noexcept {
  return byteIndex == 4 || byteIndex == 6 || byteIndex == 8 || byteIndex == 10;
}

}  // namespace

UUID UUID::random() {
  std::array<std::uint8_t, 16> bytes{};
  std::size_t count = 0;
  while (count < bytes.size()) {
    const ssize_t got = ::getrandom(bytes.data() + count, bytes.size() - count, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw SystemError("read", "random source", errno);
    count += static_cast<std::size_t>(got);
  }
  // Version 4, and the variant of RFC 4122 section 4.1.1.
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  return UUID(bytes);
}

std::optional<UUID> UUID::parse(std::string_view text) {
  constexpr std::size_t textSize = 36;
  if (text.size() != textSize) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t position = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (isDashPosition(i) && text[position++] != '-') return std::nullopt;
    const int high = hexadecimalDigitValue(text[position++]);
    const int low = hexadecimalDigitValue(text[position++]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return UUID(bytes);
}

std::string UUID::uuidString() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (isDashPosition(i)) text += '-';
    text += digits[bytes_[i] >> 4];
    text += digits[bytes_[i] & 0x0F];
  }
  return text;
}

UUID UUID::fromJSON(const JSONElement& element) {
  const std::string text = element.asString();
  const std::optional<UUID> uuid = parse(text);
  if (!uuid) throw element.fault("The text \"" + text + "\" is no UUID.");
  return *uuid;
}

}  // namespace ornolith
