#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "foundation/Error.h"
#include "foundation/JSON.h"

namespace ornolith {

inline std::span<const std::byte> bytes(std::string_view text) {
  return std::as_bytes(std::span(text));
}

/// `text` read as a `T`.
template <typename T>
T readJSON(std::string_view text) {
  return T::fromJSON(JSONDocument::parse(bytes(text)).root());
}

/// The user's text of the error of class `ErrorType` that `action` throws.
template <typename ErrorType = Error, typename Action>
std::string descriptionOfFailure(Action action) {
  try {
    action();
  } catch (const Error& error) {
    const bool isExpected = dynamic_cast<const ErrorType*>(&error) != nullptr;
    return (isExpected ? "" : "(an error of another class) ") + error.errorDescription();
  }
  return "(no failure)";
}

/// Expects that `action` throws an `ErrorType` whose case equals `expected`.
template <typename ErrorType, typename Case, typename Action>
void expectCase(const Case& expected, Action action) {
  try {
    action();
    ADD_FAILURE() << "Nothing was thrown instead of: " << ErrorType(expected).errorDescription();
  } catch (const ErrorType& error) {
    const Case* found = error.template getIf<Case>();
    EXPECT_TRUE(found && *found == expected)
        << "Thrown: " << error.errorDescription() << "\nExpected: " << ErrorType(expected).errorDescription();
  } catch (const Error& error) {
    ADD_FAILURE() << "An error of another class was thrown: " << error.errorDescription();
  }
}

}  // namespace ornolith
