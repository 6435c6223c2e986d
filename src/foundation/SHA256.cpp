// The direct functions of libcrypto, linked statically, not the EVP layer: that one loads providers and a configuration
// file first, and costs 1.2 ms a process where these cost 0.03 ms.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "foundation/SHA256.h"

#include <openssl/sha.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "foundation/FileSystem.h"

namespace ornolith {

namespace {

constexpr std::string_view hexadecimalDigits = "0123456789abcdef";

}  // namespace

struct SHA256::State {
  SHA256_CTX context{};
};

SHA256::SHA256() : state_(std::make_unique<State>()) {
  ::SHA256_Init(&state_->context);
}
SHA256::SHA256(SHA256&&) noexcept = default;
SHA256& SHA256::operator=(SHA256&&) noexcept = default;
SHA256::~SHA256() = default;

void SHA256::update(std::span<const std::byte> bytes) {
  ::SHA256_Update(&state_->context, bytes.data(), bytes.size());
}

SHA256::Digest SHA256::finalize() {
  Digest digest{};
  ::SHA256_Final(digest.data(), &state_->context);
  return digest;
}

SHA256::Digest SHA256::hash(std::span<const std::byte> bytes) {
  SHA256 state;
  state.update(bytes);
  return state.finalize();
}

std::string SHA256::hexadecimal(const Digest& digest) {
  std::string text;
  text.reserve(digest.size() * 2);
  for (const std::uint8_t byte : digest) {
    text += hexadecimalDigits[byte >> 4];
    text += hexadecimalDigits[byte & 0x0F];
  }
  return text;
}

bool SHA256::isHexadecimalDigest(std::string_view text) noexcept {
  return text.size() == 2 * std::tuple_size_v<Digest> &&
         text.find_first_not_of(hexadecimalDigits) == std::string_view::npos;
}

std::string sha256(const FileURL& url, const CancellationToken& cancellation) {
  constexpr std::size_t pieceSize = std::size_t{1} << 20;
  const FileDescriptor file = openFileForReading(url);
  SHA256 state;
  std::vector<std::byte> piece(pieceSize);
  for (;;) {
    cancellation.checkCancellation();
    const ssize_t got = ::read(file.get(), piece.data(), piece.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw SystemError("read", url.path(), errno);
    if (got == 0) break;
    state.update(std::span(piece).first(static_cast<std::size_t>(got)));
  }
  return SHA256::hexadecimal(state.finalize());
}

}  // namespace ornolith
