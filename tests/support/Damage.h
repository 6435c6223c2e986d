#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace ornolith::testsupport {

/// Calls `read` with the beginnings of `contents`, in growing order, without the whole: every one up to `dense` bytes,
/// and one of 61 behind that.
template <typename Read>
void cutEverywhere(const std::string& contents, const Read& read, std::size_t dense = std::string::npos) {
  for (std::size_t size = 0; size < contents.size(); size += size < dense ? 1 : 61) read(contents.substr(0, size));
}

/// Calls `read` `rounds` times with `contents` in which one to four bytes are overwritten at random, the same ones in
/// every run.
template <typename Read>
void patchAtRandom(const std::string& contents, int rounds, std::uint32_t seed, const Read& read) {
  std::mt19937 random(seed);
  for (int round = 0; round < rounds; ++round) {
    std::string patched = contents;
    const std::uint32_t patches = 1 + random() % 4;
    for (std::uint32_t patch = 0; patch < patches; ++patch) {
      patched[random() % patched.size()] = static_cast<char>(random());
    }
    read(patched);
  }
}

}  // namespace ornolith::testsupport
