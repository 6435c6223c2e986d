#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

namespace ornolith {

/// Bytes that nobody changes any more, kept alive together with whatever owns them: a vector of any plain values, or
/// something larger of which they are a part, a mapped file for one. Copies share. One that is made without an owner
/// has no bytes and is false.
class SharedBytes {
 public:
  SharedBytes() = default;
  SharedBytes(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): as a pointer takes it.
  /// All values of a shared container of plain values that stand one after the other.
  template <typename Container>
  requires std::is_trivially_copyable_v<typename Container::value_type> SharedBytes(
      std::shared_ptr<Container> values) {  // NOLINT(google-explicit-constructor): shares as pointers do.
    if (!values) return;
    bytes_ = std::as_bytes(std::span(std::as_const(*values)));
    owner_ = std::move(values);
  }
  /// A part of what `owner` holds.
  SharedBytes(std::shared_ptr<const void> owner, std::span<const std::byte> bytes) noexcept
      : owner_(std::move(owner)), bytes_(bytes) {}

  /// The values of a container, which is taken over and not copied.
  template <typename Container>
  static SharedBytes takingOver(Container values) {
    return SharedBytes(std::make_shared<const Container>(std::move(values)));
  }

  explicit operator bool() const noexcept { return owner_ != nullptr; }
  std::span<const std::byte> operator*() const noexcept { return bytes_; }
  const std::span<const std::byte>* operator->() const noexcept { return &bytes_; }

 private:
  std::shared_ptr<const void> owner_;
  std::span<const std::byte> bytes_;
};

}  // namespace ornolith
