#pragma once

#include <atomic>
#include <memory>
#include <variant>

#include "foundation/Error.h"

namespace ornolith {

namespace cancellation_error {
struct Cancelled {
  bool operator==(const Cancelled&) const = default;
};
}  // namespace cancellation_error

/// The work was given up because its caller asked for that.
class CancellationError final : public TypedError<CancellationError, cancellation_error::Cancelled> {
 public:
  using TypedError::TypedError;
  CancellationError() : TypedError(cancellation_error::Cancelled{}) {}
  static std::string describe(const cancellation_error::Cancelled&) { return "The operation was cancelled."; }
};

/// What long work looks at to learn whether it should stop. A token made without a source is never cancelled. Cheap to
/// copy; may be asked from any thread.
class CancellationToken {
 public:
  CancellationToken() = default;

  bool isCancelled() const noexcept { return flag_ && flag_->load(std::memory_order_relaxed); }
  /// Throws `CancellationError` where the work is cancelled.
  void checkCancellation() const {
    if (isCancelled()) throw CancellationError();
  }

 private:
  friend class CancellationSource;
  explicit CancellationToken(std::shared_ptr<const std::atomic<bool>> flag) : flag_(std::move(flag)) {}

  std::shared_ptr<const std::atomic<bool>> flag_;
};

/// The caller's end: hands out tokens and cancels the work that holds them, once and for good.
class CancellationSource {
 public:
  CancellationToken token() const { return CancellationToken(flag_); }
  void cancel() noexcept { flag_->store(true, std::memory_order_relaxed); }

 private:
  std::shared_ptr<std::atomic<bool>> flag_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace ornolith
