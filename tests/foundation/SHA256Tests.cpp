#include <gmock/gmock.h>
#include <sys/stat.h>

#include "foundation/SHA256.h"
#include "foundation/SystemError.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testsupport::TemporaryFolder;

constexpr const char* emptyDigest = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

TEST(SHA256, GivesThePublishedDigests) {
  EXPECT_EQ(SHA256::hexadecimal(SHA256().finalize()), emptyDigest);
  EXPECT_EQ(SHA256::hexadecimal(SHA256::hash(std::as_bytes(std::span("abc", 3)))),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  SHA256 million;
  for (int i = 0; i < 1000; ++i) million.update(std::string(1000, 'a'));
  EXPECT_EQ(SHA256::hexadecimal(million.finalize()),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(SHA256, KnowsTheFormOfADigest) {
  const std::string digest = emptyDigest;
  EXPECT_TRUE(SHA256::isHexadecimalDigest(digest));
  EXPECT_FALSE(SHA256::isHexadecimalDigest(""));
  EXPECT_FALSE(SHA256::isHexadecimalDigest(digest.substr(1)));
  EXPECT_FALSE(SHA256::isHexadecimalDigest(digest + "0"));
  for (const char other : {'A', 'F', 'g', '/', ':', '`', '\0'}) {
    EXPECT_FALSE(SHA256::isHexadecimalDigest(digest.substr(1) + other)) << other;
  }
}

TEST(SHA256OfAFile, HashesAnEmptyFileToTheDigestOfNoBytes) {
  const TemporaryFolder folder;
  EXPECT_EQ(sha256(FileURL(folder.makeFile("empty"))), emptyDigest);
}

TEST(SHA256OfAFile, DoesNotDependOnWhereThePiecesEnd) {
  const TemporaryFolder folder;
  for (const std::size_t size : {(1U << 20) - 1, 1U << 20, (1U << 20) + 1, 5'000'000U}) {
    std::string contents(size, 0);
    for (std::size_t i = 0; i < size; ++i) contents[i] = static_cast<char>(i * 7 + i / 251);
    EXPECT_EQ(sha256(FileURL(folder.makeFile("file", contents))),
              SHA256::hexadecimal(SHA256::hash(std::as_bytes(std::span(contents)))))
        << size;
  }
}

TEST(SHA256OfAFile, FailsForWhatIsNoRegularFile) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THROW(sha256(FileURL(folder / "pipe")), SystemError);
  EXPECT_THROW(sha256(FileURL(folder.path())), SystemError);
  EXPECT_THROW(sha256(FileURL(folder / "none")), SystemError);
}

TEST(SHA256OfAFile, StopsBeforeTheFirstReadWhenItIsCancelled) {
  const TemporaryFolder folder;
  const FileURL url(folder.makeFile("file", "x"));
  CancellationSource source;
  EXPECT_NO_THROW(sha256(url, source.token()));
  source.cancel();
  EXPECT_TRUE(source.token().isCancelled());
  EXPECT_THROW(sha256(url, source.token()), CancellationError);
  EXPECT_THROW(sha256(FileURL(folder.makeFile("empty")), source.token()), CancellationError);
}

TEST(CancellationToken, IsNeverCancelledWithoutASource) {
  EXPECT_NO_THROW(CancellationToken().checkCancellation());
  EXPECT_EQ(CancellationError().errorDescription(), "The operation was cancelled.");
}

}  // namespace
}  // namespace ornolith
