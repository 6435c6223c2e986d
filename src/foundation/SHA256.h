#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "foundation/Cancellation.h"
#include "foundation/FileURL.h"

namespace ornolith {

/// SHA-256 (FIPS 180-4) over bytes that arrive in pieces.
class SHA256 {
 public:
  using Digest = std::array<std::uint8_t, 32>;

  SHA256();
  SHA256(SHA256&&) noexcept;
  SHA256& operator=(SHA256&&) noexcept;
  ~SHA256();

  void update(std::span<const std::byte> bytes);
  void update(std::string_view text) { update(std::as_bytes(std::span(text))); }
  /// The digest of all bytes so far. The object is used up.
  Digest finalize();

  /// The digest of `bytes`.
  static Digest hash(std::span<const std::byte> bytes);
  /// 64 lower-case hexadecimal digits.
  static std::string hexadecimal(const Digest& digest);
  /// True for a text of the form that `hexadecimal` gives, in which documents hold a digest.
  static bool isHexadecimalDigest(std::string_view text) noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The SHA-256 of a file's contents as 64 lower-case hexadecimal digits. A link is followed; anything but a regular
/// file is refused. Reads pieces of 1 MiB into one buffer, and looks at `cancellation` before each. Throws
/// `SystemError`, `CancellationError`.
std::string sha256(const FileURL& url, const CancellationToken& cancellation = {});

}  // namespace ornolith
