#pragma once

#include <exception>
#include <string>
#include <utility>
#include <variant>

namespace ornolith {

/// A failure that ends a run. It is thrown where the fault is found and caught in the run driver alone, which prints
/// `errorDescription()`.
class Error : public std::exception {
 public:
  /// The text for the user, UTF-8, without a trailing newline.
  const std::string& errorDescription() const noexcept { return description_; }
  const char* what() const noexcept final { return description_.c_str(); }

 protected:
  explicit Error(std::string description) : description_(std::move(description)) {}

 private:
  std::string description_;
};

/// The base of one error type whose cases are small structs that compare equal. `Derived` supplies one static
/// `describe(const Case&) -> std::string` per case; `std::visit` selects it.
///
///     class FooError final : public TypedError<FooError, foo::NotFound, foo::TooLarge> {
///      public:
///       using TypedError::TypedError;
///       static std::string describe(const foo::NotFound&);
///       static std::string describe(const foo::TooLarge&);
///     };
///     throw FooError(foo::TooLarge{.maximumByteCount = 64});
template <typename Derived, typename... Cases>
class TypedError : public Error {
 public:
  using Case = std::variant<Cases...>;

  explicit TypedError(Case errorCase)
      : Error(std::visit([](const auto& value) { return Derived::describe(value); }, errorCase)),
        case_(std::move(errorCase)) {}

  const Case& errorCase() const noexcept { return case_; }

  template <typename CaseType>
  const CaseType* getIf() const noexcept {
    return std::get_if<CaseType>(&case_);
  }

  friend bool operator==(const TypedError& left, const TypedError& right) { return left.case_ == right.case_; }

 private:
  Case case_;
};

}  // namespace ornolith
