#include "foundation/SystemError.h"

#include <cstring>

namespace ornolith {

namespace {

/// The reason in English, whatever the locale: the C library's own untranslated text.
std::string reason(int code) {
  if (code == SystemError::notARegularFile) return "It is not a regular file";
  const char* text = ::strerrordesc_np(code);
  return text != nullptr ? text : "Unknown error " + std::to_string(code);
}

}  // namespace

SystemError::SystemError(std::string action, std::string path, int code)
    : SystemError(Case(system_error::Failed{std::move(action), std::move(path), code})) {}

int SystemError::code() const noexcept {
  return getIf<system_error::Failed>()->code;
}

std::string SystemError::describe(const system_error::Failed& failed) {
  return "The item '" + failed.path + "' could not be " + failed.action + ": " + reason(failed.code) + ".";
}

}  // namespace ornolith
