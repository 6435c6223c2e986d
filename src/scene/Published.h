#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace ornolith {

/// A value that anyone may read and observe and that only `Owner` changes. Observers are told the new value just before
/// the change, in the order in which they came, also where the new value equals the old one. Main thread only.
template <typename Value, typename Owner>
class Published {
 public:
  using Observer = std::function<void(const Value& newValue)>;

  Published() = default;
  explicit Published(Value value) : value_(std::move(value)) {}
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  const Value& value() const noexcept { return value_; }
  operator const Value&() const noexcept { return value_; }
  const Value& operator*() const noexcept { return value_; }
  const Value* operator->() const noexcept { return &value_; }

  /// `observer` must not add observers or change the value while it runs.
  void addObserver(Observer observer) { observers_.push_back(std::move(observer)); }

 private:
  friend Owner;

  void publish(Value newValue) {
    for (const Observer& observer : observers_) observer(newValue);
    value_ = std::move(newValue);
  }

  Value value_{};
  std::vector<Observer> observers_;
};

}  // namespace ornolith
