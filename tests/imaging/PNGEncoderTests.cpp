#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "TestImages.h"
#include "foundation/Parallel.h"
#include "imaging/DeflateSplice.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

namespace ornolith {
namespace {

using testing::blankImage;
using testing::ByteVector;
using testing::gradientImage;
using testing::noiseImage;
using testing::readPNGByLibrary;

struct Chunk {
  std::string type;
  ByteVector data;
};

std::uint32_t bigEndian(const ByteVector& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8 | std::to_integer<std::uint32_t>(bytes.at(offset + i));
  return value;
}

/// Takes the file apart by the format's rules alone, and checks each chunk's CRC with zlib's.
std::vector<Chunk> chunksOf(const ByteVector& file) {
  std::vector<Chunk> chunks;
  const std::string signature = "\x89PNG\r\n\x1a\n";
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(std::to_integer<unsigned>(file.at(i)), static_cast<unsigned char>(signature[i]));
  }
  for (std::size_t offset = 8; offset < file.size();) {
    const std::size_t length = bigEndian(file, offset);
    Chunk chunk;
    for (std::size_t i = 4; i < 8; ++i) chunk.type += static_cast<char>(file.at(offset + i));
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(offset + 8);
    chunk.data.assign(begin, begin + static_cast<std::ptrdiff_t>(length));
    const auto* checked = reinterpret_cast<const Bytef*>(file.data() + offset + 4);
    EXPECT_EQ(bigEndian(file, offset + 8 + length), crc32(0, checked, static_cast<uInt>(length + 4)));
    chunks.push_back(std::move(chunk));
    offset += 12 + length;
  }
  return chunks;
}

TEST(PNGEncoder, WritesHeaderDataAndEndAlone) {
  const std::vector<Chunk> chunks = chunksOf(encodePNG(gradientImage(300, 20)));
  ASSERT_EQ(chunks.size(), 3U);
  EXPECT_EQ(chunks[0].type, "IHDR");
  EXPECT_EQ(chunks[1].type, "IDAT");
  EXPECT_EQ(chunks[2].type, "IEND");
  ASSERT_EQ(chunks[0].data.size(), 13U);
  EXPECT_EQ(bigEndian(chunks[0].data, 0), 300U);
  EXPECT_EQ(bigEndian(chunks[0].data, 4), 20U);
  const unsigned format[] = {8, 6, 0, 0, 0};
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(std::to_integer<unsigned>(chunks[0].data[8 + i]), format[i]);
  EXPECT_TRUE(chunks[2].data.empty());
}

TEST(PNGEncoder, DataIsOneZlibStreamWithNothingBehindIt) {
  // Several strips, so that the stream is joined and its checksum too.
  const Image image = noiseImage(700, 500);
  const ByteVector stream = chunksOf(encodePNG(image)).at(1).data;
  const std::size_t expected = (image.rowBytes() + 1) * image.height;
  std::vector<Bytef> rows(expected + 1);
  z_stream reader{};
  ASSERT_EQ(inflateInit(&reader), Z_OK);
  reader.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(stream.data()));
  reader.avail_in = static_cast<uInt>(stream.size());
  reader.next_out = rows.data();
  reader.avail_out = static_cast<uInt>(rows.size());
  EXPECT_EQ(inflate(&reader, Z_FINISH), Z_STREAM_END);  // Which also says that the Adler-32 is right.
  EXPECT_EQ(reader.total_out, expected);
  EXPECT_EQ(reader.avail_in, 0U);
  inflateEnd(&reader);
}

TEST(PNGEncoder, EveryImageComesBackAsItWas) {
  std::vector<Image> images;
  for (const auto& [width, height] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {1, 1}, {2, 1}, {1, 2}, {3, 3}, {5000, 1}, {1, 5000}, {70'000, 2}, {17, 300}, {256, 256}}) {
    images.push_back(noiseImage(width, height, width * 31 + height));
    images.push_back(gradientImage(width, height));
    images.push_back(blankImage(width, height));
  }
  for (const Image& image : images) {
    const ByteVector file = encodePNG(image);
    EXPECT_TRUE(readPNGByLibrary(file) == image) << image.width << " x " << image.height;
    // The decoder refuses sides over its limit.
    if (image.width <= maximumDecodedImageSide) {
      EXPECT_TRUE(decodeImage(file) == image) << image.width << " x " << image.height;
    }
  }
}

TEST(PNGEncoder, SizesAroundAStripsEndComeBack) {
  // 1023 bytes a row with the filter's byte: 256 rows fill a strip of 256 KiB but for 256 bytes.
  for (const std::uint32_t width : {255U, 256U}) {
    for (const std::uint32_t height : {254U, 255U, 256U, 257U, 511U, 512U, 513U}) {
      const Image image = noiseImage(width, height, height);
      EXPECT_TRUE(readPNGByLibrary(encodePNG(image)) == image) << width << " x " << height;
    }
  }
}

TEST(PNGEncoder, ColorsOfTransparentPixelsAreKept) {
  Image image = noiseImage(64, 64);
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 0;
  EXPECT_TRUE(decodeImage(encodePNG(image)) == image);
}

TEST(PNGEncoder, AnyNumberOfThreadsGivesTheSameBytes) {
  Image image = gradientImage(900, 700);
  const Image noise = noiseImage(900, 700);
  std::copy(noise.pixels.begin(), noise.pixels.begin() + 1'000'000, image.pixels.begin());
  ByteVector expected;
  withThreadLimit(1, [&] { expected = encodePNG(image); });
  for (const std::size_t threads : {2U, 3U, 16U}) {
    ByteVector actual;
    withThreadLimit(threads, [&] { actual = encodePNG(image); });
    EXPECT_TRUE(actual == expected) << threads;
  }
  EXPECT_TRUE(encodePNG(image) == expected);
}

ByteVector rawDeflate(const std::string& text, int level, int strategy) {
  z_stream writer{};
  EXPECT_EQ(deflateInit2(&writer, level, Z_DEFLATED, -15, 8, strategy), Z_OK);
  ByteVector out(text.size() * 2 + 1000);
  writer.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  writer.avail_in = static_cast<uInt>(text.size());
  writer.next_out = reinterpret_cast<Bytef*>(out.data());
  writer.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(deflate(&writer, Z_FINISH), Z_STREAM_END);
  out.resize(writer.total_out);
  deflateEnd(&writer);
  return out;
}

TEST(DeflateSplice, StreamsOfEveryBlockTypeJoin) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::string expected;
    ByteVector joined;
    const int parts = 1 + static_cast<int>(random() % 4);
    for (int part = 0; part < parts; ++part) {
      std::string text(random() % (round % 10 == 0 ? 100'000 : 300), '\0');
      const unsigned range = 1 + random() % 256;
      for (char& c : text) c = static_cast<char>(random() % range);
      // Stored, fixed and dynamic blocks, without matches and with.
      const int level = static_cast<int>(random() % 10);
      const int strategies[] = {Z_DEFAULT_STRATEGY, Z_FIXED, Z_HUFFMAN_ONLY};
      ByteVector stream = rawDeflate(text, level, strategies[random() % 3]);
      if (part + 1 < parts) openDeflateStream(stream);
      joined.insert(joined.end(), stream.begin(), stream.end());
      expected += text;
    }
    std::string actual(expected.size() + 1, '\0');
    z_stream reader{};
    ASSERT_EQ(inflateInit2(&reader, -15), Z_OK);
    reader.next_in = reinterpret_cast<Bytef*>(joined.data());
    reader.avail_in = static_cast<uInt>(joined.size());
    reader.next_out = reinterpret_cast<Bytef*>(actual.data());
    reader.avail_out = static_cast<uInt>(actual.size());
    EXPECT_EQ(inflate(&reader, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(reader.avail_in, 0U);
    actual.resize(reader.total_out);
    inflateEnd(&reader);
    EXPECT_TRUE(actual == expected);
  }
}

TEST(DeflateSplice, RefusesWhatIsNoCompleteStream) {
  ByteVector stream = rawDeflate("some text, some text, some text", 9, Z_DEFAULT_STRATEGY);
  stream.pop_back();
  EXPECT_THROW(openDeflateStream(stream), std::logic_error);
  ByteVector empty;
  EXPECT_THROW(openDeflateStream(empty), std::logic_error);
  ByteVector reserved{std::byte{7}};
  EXPECT_THROW(openDeflateStream(reserved), std::logic_error);
}

}  // namespace
}  // namespace ornolith
