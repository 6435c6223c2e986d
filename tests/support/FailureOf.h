#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

/// The description of the error that `call` throws, or "nothing was thrown".
template <typename Call>
std::string failureOf(const Call& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.errorDescription();
  }
  return "nothing was thrown";
}

}  // namespace ornolith
