#include "imaging/ImageDecoder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <vector>

#include "imaging/ByteOrder.h"
#include "imaging/CodecModule.h"
#include "imaging/DecodeLimits.h"
#include "imaging/Decoders.h"
#include "imaging/ImageSize.h"

namespace ornolith {

namespace {

/// No texture file is larger; what is, is not read.
constexpr std::size_t maximumFileBytes = std::size_t{1} << 30;

bool startsWith(std::span<const std::byte> data, std::string_view text, std::size_t offset = 0) noexcept {
  if (data.size() < offset + text.size()) return false;
  return std::equal(text.begin(), text.end(), data.begin() + static_cast<std::ptrdiff_t>(offset),
                    [](char a, std::byte b) { return static_cast<unsigned char>(a) == std::to_integer<unsigned>(b); });
}

/// A file of ISO/IEC 14496-12 whose brand, or one it is compatible with, is a still HEVC image (ISO/IEC 23008-12).
bool isHEIC(std::span<const std::byte> data) noexcept {
  constexpr std::array<std::string_view, 5> brands{"heic", "heix", "heim", "heis", "mif1"};
  if (!startsWith(data, "ftyp", 4)) return false;
  const std::size_t boxEnd = std::min<std::size_t>(bigEndian32(data, 0), data.size());
  for (std::size_t offset = 8; offset + 4 <= boxEnd; offset += 4) {
    if (offset == 12) continue;  // The version of the brand in front.
    for (const std::string_view brand : brands) {
      if (startsWith(data, brand, offset)) return true;
    }
  }
  return false;
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int value) noexcept : value_(value) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (value_ >= 0) ::close(value_);
  }
  int value() const noexcept { return value_; }

 private:
  int value_;
};

}  // namespace

std::optional<std::vector<std::byte>> readImageFile(const std::string& path) {
  // Without O_NONBLOCK opening a FIFO would wait for a writer.
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (file.value() < 0 || ::fstat(file.value(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (status.st_size <= 0 || static_cast<std::uint64_t>(status.st_size) > maximumFileBytes) return std::nullopt;
  std::vector<std::byte> bytes(static_cast<std::size_t>(status.st_size));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t count = ::read(file.value(), bytes.data() + filled, bytes.size() - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    filled += static_cast<std::size_t>(count);
  }
  return bytes;
}

std::optional<ImageKind> imageKind(std::span<const std::byte> data) noexcept {
  using namespace std::string_view_literals;
  if (startsWith(data, "\x89PNG\r\n\x1a\n"sv)) return ImageKind::png;
  if (startsWith(data, "\xff\xd8\xff"sv)) return ImageKind::jpeg;
  if (startsWith(data, "RIFF"sv) && startsWith(data, "WEBPVP8"sv, 8)) return ImageKind::webp;
  // Classic TIFF and BigTIFF, in both byte orders.
  if (startsWith(data, "II\x2a\0"sv) || startsWith(data, "MM\0\x2a"sv) || startsWith(data, "II\x2b\0"sv) ||
      startsWith(data, "MM\0\x2b"sv)) {
    return ImageKind::tiff;
  }
  if (startsWith(data, "\x76\x2f\x31\x01"sv)) return ImageKind::exr;
  if (isHEIC(data)) return ImageKind::heic;
  if (isBMP(data)) return ImageKind::bmp;
  if (isTGA(data)) return ImageKind::tga;
  return std::nullopt;
}

std::optional<Image> decodeImage(std::span<const std::byte> data) {
  const std::optional<ImageKind> kind = imageKind(data);
  // What does not tell its size is not decoded, so that whoever asked for it knows what will come.
  const std::optional<ImageSize> size = claimedImageSize(data);
  if (!kind || !size || !isDecodableSize(size->width, size->height, data.size())) return std::nullopt;
  switch (*kind) {
    case ImageKind::png:
      return decodePNG(data);
    case ImageKind::jpeg:
      return decodeJPEG(data);
    case ImageKind::tga:
      return decodeTGA(data);
    case ImageKind::bmp:
      return decodeBMP(data);
    case ImageKind::webp:
      return decodeWebP(data);
    case ImageKind::tiff:
      return decodeByModule(CodecModule::tiff, data, *size);
    case ImageKind::heic:
      return decodeByModule(CodecModule::heic, data, *size);
    case ImageKind::exr:
      return decodeByModule(CodecModule::exr, data, *size);
  }
  return std::nullopt;
}

std::optional<Image> decodeImageFile(const std::string& path) {
  const std::optional<std::vector<std::byte>> bytes = readImageFile(path);
  return bytes ? decodeImage(*bytes) : std::nullopt;
}

}  // namespace ornolith
